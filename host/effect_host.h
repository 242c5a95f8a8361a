#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "AE_EffectUI.h"
#include "SPBasic.h"
#include "host/aegp_objects.h"
#include "host/composition.h"
#include "host/drawbot_objects.h"
#include "host/footage_refresh.h"
#include "host/handle_table.h"
#include "host/layer_geometry.h"
#include "host/param_list.h"
#include "host/pixel_world.h"
#include "host/state_stamp.h"
#include "host/suite_registry.h"

namespace lunaform::host {

// What the host presents about the effect's own layer in each command's in-data and in the
// Smart Render protocol. Change it between commands through EffectHost::settings();
// EffectHost::set_composition() sets the layer, pixel aspect and times from a composition.
struct HostSettings {
  LayerSize layer{1920, 1080};          // the effect's own layer (parameter 0) at full resolution
  PF_RationalScale downsample_x{1, 1};  // 1/2 at half resolution
  PF_RationalScale downsample_y{1, 1};
  PF_RationalScale pixel_aspect{1, 1};
  A_long current_time = 0;  // in units of 1/time_scale seconds
  A_long time_step = 1;
  A_long total_time = 300;
  A_u_long time_scale = 30;
  PF_Quality quality = PF_Quality_HI;
  PF_Field field = PF_Field_FRAME;
  PF_Fixed shutter_angle = 0;
  PF_Fixed shutter_phase = 0;
  int bits_per_channel = 8;  // 8, 16 or 32 (float)
  // The output rectangle Smart PreRender requests and Smart Render's output world covers, in
  // downsampled layer pixels; unset means the whole downsampled layer. A partial rectangle
  // gives an output world whose origin is the rectangle's top-left corner.
  std::optional<PF_LRect> output_rect;
};

// Makes chosen image checkouts fail, so a module's failure paths can be driven. Keys are
// checkout ids as the module passes them.
struct CheckoutFailures {
  std::map<A_long, PF_Err> layer;         // Smart PreRender checkout_layer
  std::map<A_long, PF_Err> layer_pixels;  // Smart Render checkout_layer_pixels
  PF_Err output = PF_Err_NONE;            // Smart Render checkout_output
};

// A value of the composition's effect layer that the module's parameters cannot take: a name
// the module did not declare, or a value of the wrong kind.
struct ParamMismatch {
  std::string name;     // the parameter name as the composition gives it
  std::string problem;  // one line: "the effect has no parameter named 'Radios'"
};

// One AEGP call that carried a time, as the module made it ("AEGP_GetEffectCameraMatrix").
struct TimedCall {
  std::string function;
  A_Time time{};
};

// One command sent to the module and what it returned.
struct CommandRecord {
  PF_Cmd command = 0;
  PF_Err result = PF_Err_NONE;
};

// One Smart PreRender checkout_layer call as the module made it, with the host's answer.
struct LayerCheckoutCall {
  PF_ParamIndex index = 0;
  A_long checkout_id = 0;
  PF_RenderRequest request{};
  A_long what_time = 0;
  A_long time_step = 0;
  A_u_long time_scale = 0;
  PF_Err result = PF_Err_NONE;
  PF_CheckoutResult answer{};
};

// One Smart Render callback as the module made it.
struct RenderCheckoutCall {
  enum class Kind { layer_pixels, checkin_layer_pixels, output };
  Kind kind = Kind::layer_pixels;
  A_long checkout_id = 0;  // 0 for the output
  PF_Err result = PF_Err_NONE;
  const PF_EffectWorld* world = nullptr;  // the world handed out, null when none was
};

// One custom-UI event for a parameter's control in the effect-controls panel, and what the
// module made of it. Rectangles and points are in panel pixels.
struct ControlEvent {
  PF_EventType type = PF_Event_DRAW;   // PF_Event_DRAW, _ADJUST_CURSOR, _DO_CLICK or _DRAG
  PF_ParamIndex index = 0;             // whose control
  PF_EffectArea area = PF_EA_CONTROL;  // where the pointer is: on the control or its title
  PF_Rect current_frame{};             // the control
  PF_Rect title_frame{};               // the parameter's title row
  PF_Point point{};                    // the pointer (cursor, click and drag events)
  bool last_time = false;              // drag events: the button was let go
  PF_EventInFlags in_flags = PF_EI_NONE;
  // Draw events: the panel image (a cairo image surface) the module draws into, clipped to
  // current_frame. Borrowed for the event.
  cairo_surface_t* target = nullptr;

  // What the module set. A click's send_drag and continuation travel on to the drag events
  // that follow it: send the same record again as PF_Event_DRAG.
  PF_EventOutFlags out_flags = PF_EO_NONE;
  PF_CursorType cursor = PF_Cursor_NONE;  // adjust-cursor events
  bool send_drag = false;
  std::array<A_intptr_t, 4> continuation{};
};

// A host for one effect instance: drives an effect's entry function through the effect API
// with real in-data, out-data, callbacks, handles, suites and Smart Render worlds.
//
// The entry function may come from a loaded Module or be any function of the PF_FilterProc
// signature (a test's own wrapper around a plug-in object). Each command method sends one
// command, records its result (commands()) and returns it; the global-data and sequence-data
// handles travel from command to command the way a host carries them (the out-data values
// after a command become the next command's in-data). Nothing the module does can make a
// method throw; methods throw HostError only for impossible host settings (a bit depth other
// than 8, 16 or 32, a zero downsample denominator, a negative or oversized layer).
//
// Threads: create, use and destroy a host on one thread. Callbacks that carry no effect
// reference (handles, the basic suite) reach the host that is active on the calling thread:
// a host is active while it sends a command, and inside run_inside_command() or an Activation.
// The effect reference of a destroyed host is refused by every callback.
//
// The composition: the suites (AEGP PF Interface, Camera, Comp, Item, Layer, Light, Stream,
// Dynamic Stream, Effect, Utility; PF Param Utils) answer from composition(); the effect
// carries the composition's effect layer, which starts at composition time 0, so the effect's
// times are composition times. Every answer is computed from the time the call passes (a
// module may move in_data->current_time to sub-frame times during a command).
//
// Parameter values: parameter `index` checks out at time t as the composition's effect-layer
// value of the parameter's name at t (apply_value: points from full-resolution layer pixels to
// downsampled ones), else as params().at(index).current, whose point values are taken as
// percentages of the layer's width and height (the form in which a module declares them) and
// handed out in downsampled layer pixels. Layer parameters: the chosen layer's downsampled
// size, no pixels; an empty one checks out with no error, 0 x 0.
//
// Custom UI: send_event() sends a control's events as an effect-controls panel does. The PF
// Effect Custom UI and DRAWBOT suites draw a draw event on its target image with cairo; the
// images a module makes stay in drawbot_objects() until it releases them.
//
// Destruction: if global setup was sent and global setdown was not, the destructor sends
// sequence setdown (when sequence data is live) and global setdown, as a host does on quit
// (an instance from new_instance() sends only its sequence setdown); then it frees every
// world and image it still holds, and the handles once no instance shares them any more.
class EffectHost {
 public:
  explicit EffectHost(PF_FilterProc entry_point);
  ~EffectHost();
  // Another instance of this host's effect, applied to another layer of the same host: it
  // shares the module's global data and the host's memory handles with this one, starts with
  // no parameters and no sequence data (send it params_setup and sequence_setup), and sends no
  // global setup or setdown of its own. Call after global setup; this host must outlive it.
  std::unique_ptr<EffectHost> new_instance();
  EffectHost(const EffectHost&) = delete;
  EffectHost& operator=(const EffectHost&) = delete;

  // --- Commands. Each returns the module's PF_Err. ---
  PF_Err global_setup();
  // Resets the parameter list to the input layer alone, then sends PF_Cmd_PARAMS_SETUP; the
  // module's add_param calls fill the list.
  PF_Err params_setup();
  PF_Err sequence_setup();
  PF_Err sequence_resetup();
  PF_Err sequence_flatten();
  PF_Err sequence_setdown();
  // Sent even after a global setup that failed: the module may hold memory from it.
  PF_Err global_setdown();
  PF_Err update_params_ui();
  PF_Err user_changed_param(PF_ParamIndex index);
  PF_Err about();
  // Any command number with any extra record (range tests); the current parameters are passed.
  PF_Err send(PF_Cmd command, void* extra = nullptr);
  // Sends `event` as PF_Cmd_EVENT with its effect-window record and an event context of the
  // effect window, then fills in what the module set (out-flags, cursor, send-drag and
  // continuation). During a draw event the custom-UI suite hands out a drawing reference on
  // event.target (drawbot_objects()). Throws HostError for another event type, a draw event
  // without a target, or an index outside the parameter list.
  PF_Err send_event(ControlEvent& event);

  // Smart PreRender for the current settings: the output request covers settings().output_rect
  // (or the whole downsampled layer); `initial_output` is the pre-render output record as the
  // module receives it (all zero, i.e. empty rectangles, unless a test presets it). Clears the
  // previous pre-render's checkout records.
  PF_Err smart_pre_render(const PF_PreRenderOutput& initial_output = {});
  // Smart Render at settings().bits_per_channel. Layer pixels can be checked out only under a
  // checkout id that the preceding smart_pre_render() checked out (others are refused with
  // PF_Err_BAD_CALLBACK_PARAM and listed in problems()); their world covers the rectangle the
  // checkout produced (its result_rect, origin at its top-left corner). Each render gets a fresh
  // output world of the request's size with padded rows, cleared; output_world() is null until the
  // module checks the output out.
  PF_Err smart_render();

  // --- Settings. ---
  HostSettings& settings() { return settings_; }
  // The host's main window as get_platform_data(PF_PlatData_MAIN_WND) hands it out (an
  // SDL_Window*, borrowed; null for none, the default).
  void set_main_window(void* window) { main_window_ = window; }
  CheckoutFailures& checkout_failures() { return failures_; }
  // Gives layer parameter `index` (1 or above) a transparent layer of `size` (full resolution):
  // a solid named "Layer source INDEX" in the composition, chosen for that index ahead of the
  // composition's own choice. Nothing leaves the parameter empty (it checks out with no error
  // and no pixels). The input layer (index 0) is always settings().layer.
  void set_layer_source(PF_ParamIndex index, std::optional<LayerSize> size);

  // --- The composition the suites report. ---
  // Checks `comp` (check_composition: throws HostError with one line and keeps the current
  // composition) and makes it the host's; forgets set_layer_source choices. Sets settings():
  // layer = the effect layer's size, pixel_aspect = its pixel aspect, time_scale, time_step and
  // total_time from time_base(comp). Until then the host serves default_composition().
  void set_composition(Composition comp);
  // The model; a test may change it between commands (move a light, give a footage layer a new
  // Image). The effect layer's size and pixel aspect in it are not read: settings() holds them.
  Composition& composition() { return composition_; }
  const Composition& composition() const { return composition_; }
  // The composition's layer that layer parameter `index` (1 or above) chooses: the
  // set_layer_source choice, else the effect layer's LayerRef of the parameter's name; nothing
  // for none, for a layer without pixels, or for another parameter type.
  std::optional<std::size_t> chosen_layer(PF_ParamIndex index) const;
  // What checkout_param hands out for parameter `index` at `seconds` of composition time (see
  // "Parameter values" above the class). Throws HostError for an index outside the list.
  PF_ParamDef param_value_at(PF_ParamIndex index, double seconds) const;
  // The parameter state stamp of `index` at `seconds` (PF_GetCurrentState): changes exactly
  // when the value at that time changes, or, for a layer parameter, the chosen layer or its id,
  // size or pixels, or the bit depth or downsampling it is checked out at.
  PF_State param_state(PF_ParamIndex index, double seconds);
  // The composition's effect-layer values that do not fit the parameters received in
  // parameter setup, in name order; empty when all fit (or nothing was set).
  std::vector<ParamMismatch> effect_param_mismatches() const;
  // Re-reads the composition's footage files that changed on disk since set_composition() or
  // the previous call (FootageRefresh), as a host does before it renders a frame; render_frame()
  // calls it. Its warning lines (a changed file that cannot be read keeps its old pixels) are
  // kept for take_footage_warnings().
  void refresh_footage();
  // The warning lines of refresh_footage() not yet taken, oldest first; the caller shows them.
  std::vector<std::string> take_footage_warnings();

  // --- What happened. All references stay valid until the next command. ---
  const std::vector<CommandRecord>& commands() const { return commands_; }
  // The parameters as received: index 0 is the input layer. params().at(i).current may be
  // changed by a test; later checkouts and commands hand out the changed value.
  ParamList& params() { return params_; }
  const ParamList& params() const { return params_; }
  const std::optional<PF_CustomUIInfo>& custom_ui() const { return custom_ui_; }
  // The in-data and out-data of the last command (the out-data as the module left it).
  const PF_InData& in_data() const { return in_data_; }
  const PF_OutData& out_data() const { return out_data_; }
  PF_Handle global_data() const { return global_data_; }
  PF_Handle sequence_data() const { return sequence_data_; }
  // checkout_param calls not yet matched by checkin_param.
  int outstanding_param_checkouts() const { return outstanding_param_checkouts_; }
  // Host calls the module made wrongly (out of order, unknown handle, bad index, a suite
  // function this host does not implement), one line each, in the order they happened. Empty
  // for a well-behaved module.
  const std::vector<std::string>& problems() const { return problems_; }
  // Records one problem line (used by the host's suites).
  void note_problem(std::string text);

  // AEGP state: the dynamic stream flags the module set on parameter `index` (0 when none;
  // cleared by parameter setup), the live AEGP objects it holds, its registrations.
  AEGP_DynStreamFlags dynamic_stream_flags(PF_ParamIndex index) const {
    return aegp_.dynamic_flags(index);
  }
  AegpHandleCounts aegp_handles() const { return aegp_.live(); }
  const std::vector<AegpRegistration>& aegp_registrations() const { return aegp_.registrations(); }
  AegpObjects& aegp_objects() { return aegp_; }
  // The AEGP calls with a time argument made during the last command, in call order.
  const std::vector<TimedCall>& timed_calls() const { return timed_calls_; }
  void note_timed_call(std::string function, const A_Time& time);

  // A host that refuses, on purpose: from now on every call of the suite function `function`
  // ("AEGP_GetLayerToWorldXform", ...) returns `error` and does nothing else; an empty name ends
  // it. For testing how a module copes with a failing host.
  void fail_suite_function(std::string function, A_Err error);
  // While recording (off at first; turning it on empties the list), suite_calls() lists the
  // suite functions the module calls, in order, each with the result it got.
  void record_suite_calls(bool on);
  const std::vector<std::pair<std::string, A_Err>>& suite_calls() const { return suite_calls_; }
  // Used by the suites around every call: note it, and say the error to return when it is to
  // fail; then the result it gave.
  std::optional<A_Err> enter_suite_function(const char* function);
  void note_suite_result(A_Err result);

  // The last Smart PreRender: its output record and every checkout_layer call.
  const PF_PreRenderOutput& pre_render_output() const { return pre_render_output_; }
  const std::vector<LayerCheckoutCall>& layer_checkouts() const { return layer_checkouts_; }
  // The last Smart Render: every callback in call order, and the output world (null before
  // the first output checkout). The world stays valid until the next smart_render().
  const std::vector<RenderCheckoutCall>& render_checkouts() const { return render_checkouts_; }
  const PixelWorld* output_world() const { return output_world_.get(); }
  // Hands the last Smart Render's output world to the caller, as a host passes a rendered frame
  // on: the world the module wrote or, when it never checked the output out, a new cleared one
  // of the size and place it would have had. output_world() is null afterwards. Throws
  // HostError for impossible settings, std::bad_alloc when memory runs out.
  std::unique_ptr<PixelWorld> take_output_world();

  HandleTable& handles() { return *handles_; }
  SuiteRegistry& suites() { return suites_; }
  // The DRAWBOT objects handed out: the module's images, and a draw event's drawing.
  DrawbotObjects& drawbot_objects() { return drawbot_; }
  const DrawbotObjects& drawbot_objects() const { return drawbot_; }
  // The context handle of the event being sent; null outside send_event().
  PF_ContextH event_context() const { return event_context_; }

  // Runs `body` with in-data, out-data and parameter array prepared exactly as for `command`,
  // with this host active on the calling thread and callbacks behaving as during that command
  // (add_param only inside PF_Cmd_PARAMS_SETUP), without calling the module's entry function:
  // a test can call plug-in code that uses host callbacks. Global and sequence data written to
  // the out-data are carried over as after a command. Not recorded in commands(). Exceptions
  // from `body` pass through.
  void run_inside_command(PF_Cmd command,
                          const std::function<void(PF_InData&, PF_OutData&, PF_ParamList)>& body);

  // While alive, makes `host` the active host of the calling thread (restoring the previous
  // one afterwards).
  class Activation {
   public:
    explicit Activation(EffectHost& host);
    ~Activation();
    Activation(const Activation&) = delete;
    Activation& operator=(const Activation&) = delete;

   private:
    EffectHost* previous_;
  };

  // The host active on the calling thread, or null.
  static EffectHost* active();
  // The live host behind an effect reference, or null for anything else.
  static EffectHost* from_effect_ref(PF_ProgPtr effect_ref);

 private:
  friend class HostCallbacks;

  void validate_settings() const;
  void prepare_command(PF_Cmd command);
  void finish_command();
  // Prepares the in-data, out-data and parameters for `command`, runs `body` with this host
  // active and the command marked as running, then carries the out-data handles over.
  void inside_command(PF_Cmd command, const std::function<void()>& body);
  PF_Err dispatch(PF_Cmd command, void* extra);
  // Records a refused callback: the problem, and the error in the call's record.
  template <typename Call>
  PF_Err refuse(Call& call, PF_Err error, std::string problem) {
    note_problem(std::move(problem));
    call.result = error;
    return error;
  }
  // The composition's value for the parameter named `name`, or null.
  const ParamValue* scene_value(const std::string& name) const;
  std::optional<LayerSize> layer_source(PF_ParamIndex index) const;
  PF_LRect output_request_rect() const;
  // A cleared world for the output request: its size, origin and pixel aspect.
  std::unique_ptr<PixelWorld> make_output_world() const;
  void release_pre_render_data();

  // Callback bodies (reached through HostCallbacks).
  PF_Err add_param(PF_ParamIndex index, PF_ParamDefPtr def);
  PF_Err checkout_param(PF_ParamIndex index, A_long what_time, A_long time_step,
                        A_u_long time_scale, PF_ParamDef* param);
  PF_Err checkin_param(PF_ParamDef* param);
  PF_Err register_ui(PF_CustomUIInfo* info);
  PF_Err get_platform_data(PF_PlatDataID which, void* data);
  PF_Err checkout_layer(PF_ParamIndex index, A_long checkout_id, const PF_RenderRequest* request,
                        A_long what_time, A_long time_step, A_u_long time_scale,
                        PF_CheckoutResult* result);
  PF_Err checkout_layer_pixels(A_long checkout_id, PF_EffectWorld** pixels);
  PF_Err checkin_layer_pixels(A_long checkout_id);
  PF_Err checkout_output(PF_EffectWorld** output);

  PF_FilterProc entry_point_;
  HostSettings settings_;
  CheckoutFailures failures_;
  ParamList params_;
  Composition composition_;
  std::map<PF_ParamIndex, LayerRef> layer_choices_;
  FootageRefresh footage_refresh_;
  std::vector<std::string> footage_warnings_;
  // Shared with the other instances of the effect (new_instance).
  std::shared_ptr<HandleTable> handles_ = std::make_shared<HandleTable>();
  SuiteRegistry suites_;
  AegpObjects aegp_;
  DrawbotObjects drawbot_;
  ImageHashes image_hashes_;
  std::vector<TimedCall> timed_calls_;
  std::string failing_function_;
  A_Err failing_error_ = A_Err_NONE;
  bool recording_suite_calls_ = false;
  std::vector<std::pair<std::string, A_Err>> suite_calls_;

  PF_InData in_data_{};
  PF_OutData out_data_{};
  std::vector<PF_ParamDef> command_params_;
  std::vector<PF_ParamDef*> command_param_pointers_;
  PF_Handle global_data_ = nullptr;
  PF_Handle sequence_data_ = nullptr;
  PF_Cmd running_command_ = -1;
  void* main_window_ = nullptr;
  PF_ContextH event_context_ = nullptr;
  bool global_setup_sent_ = false;
  bool shares_global_data_ = false;  // an instance made by new_instance()
  bool sequence_live_ = false;

  std::vector<CommandRecord> commands_;
  std::optional<PF_CustomUIInfo> custom_ui_;
  int outstanding_param_checkouts_ = 0;
  std::vector<std::string> problems_;

  PF_PreRenderOutput pre_render_output_{};
  std::vector<LayerCheckoutCall> layer_checkouts_;
  std::vector<RenderCheckoutCall> render_checkouts_;
  std::map<A_long, std::unique_ptr<PixelWorld>> layer_worlds_;
  std::unique_ptr<PixelWorld> output_world_;
};

}  // namespace lunaform::host
