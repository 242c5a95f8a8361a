#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/module.h"

namespace {

using lunaform::host::EffectHost;
using lunaform::host::HostError;
using lunaform::host::Module;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::filesystem::path kModules = LUNAFORM_TEST_MODULE_DIR;

std::vector<char> read_all(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::filesystem::path write_file(const std::string& name, const std::vector<char>& bytes) {
  const std::filesystem::path file = std::filesystem::path(testing::TempDir()) / name;
  std::ofstream(file, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return file;
}

TEST(E2eHostModules, AFailedGlobalSetupIsStillFollowedByGlobalSetdown) {
  const Module module = Module::load(kModules / "host_failing_setup.so");
  EXPECT_EQ(module.pipl().name, "Failing Setup");
  EXPECT_EQ(module.pipl().entry_point, "FailingSetupMain");

  EffectHost host(module.entry_point());
  EXPECT_EQ(host.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(host.handles().live_count(), 1u) << "the module keeps a block from its failed setup";
  EXPECT_NE(host.global_data(), nullptr);
  EXPECT_EQ(host.suites().use("AEGP Utility Suite", 10).acquired, 1);

  EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.handles().live_count(), 0u) << "only the module's setdown frees that block";
  EXPECT_EQ(host.global_data(), nullptr);
  ASSERT_EQ(host.commands().size(), 2u);
  EXPECT_EQ(host.commands()[1].command, PF_Cmd_GLOBAL_SETDOWN);
  EXPECT_THAT(host.problems(), IsEmpty());
}

struct Unloadable {
  const char* what;
  std::function<std::filesystem::path()> file;
  const char* reason;
};

TEST(E2eHostModules, FilesThatCannotBeLoadedAreRefusedWithTheirReason) {
  const auto failing_setup = kModules / "host_failing_setup.so";
  const std::vector<Unloadable> cases = {
      {"missing file", [] { return kModules / "no_such_module.so"; }, "No such file or directory"},
      {"directory", [] { return kModules; }, "read error: Is a directory"},
      {"text file",
       [] {
         return write_file("not_elf.so", {'h', 'e', 'l', 'l', 'o', '\n'});
       },
       "not an ELF file"},
      {"truncated module",
       [&] {
         std::vector<char> bytes = read_all(failing_setup);
         bytes.resize(100);
         return write_file("truncated.so", bytes);
       },
       "truncated ELF file"},
      {"corrupt PiPL",
       [&] {
         std::vector<char> bytes = read_all(failing_setup);
         const std::string first_property = "MIB8dnik";
         const auto found =
             std::search(bytes.begin(), bytes.end(), first_property.begin(), first_property.end());
         // The property count is the u32 right before the first property.
         std::fill(found - 4, found - 3, char(0xFF));
         return write_file("corrupt_pipl.so", bytes);
       },
       "PiPL claims 255 properties"},
      {"no PiPL", [] { return kModules / "host_no_pipl.so"; }, "no .pipl section"},
      {"entry point not exported", [] { return kModules / "host_missing_entry.so"; },
       "its entry point 'NotExportedMain' is not exported"},
      {"unresolved symbol", [] { return kModules / "host_unresolved_symbol.so"; },
       "undefined symbol: lunaform_test_function_nobody_defines"},
  };
  for (const Unloadable& c : cases) {
    SCOPED_TRACE(c.what);
    const std::filesystem::path file = c.file();
    try {
      Module::load(file);
      ADD_FAILURE() << "loaded";
    } catch (const HostError& error) {
      EXPECT_THAT(error.what(), StartsWith("cannot load '" + file.string() + "': "));
      EXPECT_THAT(error.what(), HasSubstr(c.reason));
      EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
    }
  }
  EXPECT_EQ(std::getenv("LUNAFORM_HOST_NO_PIPL_LOADED"), nullptr)
      << "a file without a PiPL must be refused before any of its code runs";
}

}  // namespace
