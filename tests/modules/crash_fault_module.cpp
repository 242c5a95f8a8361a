// A module that faults on purpose (tests/crash_fault_commands.h): the effect's own entry point
// logic, global setup and render thread around a plug-in object that faults on three commands.
// The effect itself has no such trigger.
#include "AE_Effect.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/plugin_entry.h"
#include "tests/crash_fault_commands.h"
#include "tests/modules/test_module_pipl.h"

LUNAFORM_TEST_MODULE_PIPL("Crash Fault", "CrashFaultMain", "CRASH TEST Fault")

// Read through a volatile pointer, so the compiler cannot know it is null and must emit the
// write (a visible null write would become a trap instruction).
int* volatile fault_target = nullptr;
// Never reached, but the compiler cannot know: to its eyes the recursion ends.
volatile int recursion_limit = -1;

// Outside any namespace and never inlined, so that a backtrace shows exactly these names. The
// undefined-behaviour sanitizer would stop a null write before the processor faults: not here.
[[gnu::noinline, gnu::no_sanitize("undefined")]] void crash_test_fault_in_command() {
  *fault_target = 1;
}
[[gnu::noinline, gnu::no_sanitize("undefined")]] void crash_test_fault_in_render_job() {
  *fault_target = 2;
}
[[gnu::noinline]] int crash_test_overflow_stack(int depth) {
  volatile char frame[1024];
  frame[0] = static_cast<char>(depth);
  return depth == recursion_limit ? 0 : crash_test_overflow_stack(depth + 1) + frame[0];
}

namespace {

// The handlers of the commands that crash_fault names.
class FaultingPlugin : public AePluginConnection {
 public:
  void on_do_dialog(CommandContext&) override { crash_test_fault_in_command(); }
  void on_completely_general(CommandContext&) override { crash_test_overflow_stack(0); }
  void on_arbitrary_callback(CommandContext&) override {
    renderer->render_thread->run(crash_test_fault_in_render_job);
  }
};

}  // namespace

extern "C" [[gnu::visibility("default")]] PF_Err CrashFaultMain(PF_Cmd command, PF_InData* in_data,
                                                                PF_OutData* out_data,
                                                                PF_ParamList params, PF_LayerDef*,
                                                                void* extra) {
  return run_plugin_entry([] { return std::unique_ptr<AePlugin>(new FaultingPlugin); }, command,
                          in_data, out_data, params, extra);
}
