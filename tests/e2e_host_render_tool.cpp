#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host_temp_folder.h"
#include "tests/shell_command.h"

namespace {

using testing::HasSubstr;

ShellRun run_render(const std::string& arguments) {
  return run_shell_command(std::string(LUNAFORM_RENDER_PATH) + " " + arguments + " 2>&1");
}

std::string quoted(const std::filesystem::path& path) {
  return "'" + path.string() + "'";
}

TEST(E2eHostRenderTool, InfoPrintsTheModuleAndItsParameters) {
  for (const std::string& arguments :
       {"--info " + quoted(LUNAFORM_MODULE_PATH), std::string("--info")}) {
    SCOPED_TRACE(arguments);
    const ShellRun run = run_render(arguments);
    EXPECT_EQ(run.exit_code, 0) << run.output;
    EXPECT_THAT(run.output, HasSubstr("Name:          Lunaform\n"));
    EXPECT_THAT(run.output, HasSubstr("Category:      Brightmoor\n"));
    EXPECT_THAT(run.output, HasSubstr("Match name:    BRIGHTMOOR Sphere\n"));
    EXPECT_THAT(run.output, HasSubstr("Version:       1.0.0 develop build 66 (0x00080042)\n"));
    EXPECT_THAT(run.output, HasSubstr("Parameters (80):"));
    EXPECT_THAT(run.output, HasSubstr("\"Radius\""));
    EXPECT_THAT(run.output,
                HasSubstr("valid 0 to 100000, slider 0 to 15, default 200, precision 1"));
    EXPECT_THAT(run.output, HasSubstr("choices \"0|2|4|8|16\" (5), default 4"));
  }
}

// The output's last line, without its line break.
std::string last_line(std::string output) {
  if (!output.empty() && output.back() == '\n') {
    output.pop_back();
  }
  const size_t previous_break = output.rfind('\n');
  return previous_break == std::string::npos ? output : output.substr(previous_break + 1);
}

TEST(E2eHostRenderTool, EveryFailureEndsWithOneClearLine) {
  const std::filesystem::path modules = LUNAFORM_TEST_MODULE_DIR;
  struct Case {
    std::string arguments;
    std::string line;
    bool only_line;  // false where the module's PiPL is printed before the failure
  };
  const Case cases[] = {
      {"--info /no/such/module.so",
       "lunaform-render: cannot load '/no/such/module.so': No such file or directory", true},
      {"--info " + quoted(modules / "host_no_pipl.so"),
       "lunaform-render: cannot load " + quoted(modules / "host_no_pipl.so") + ": no .pipl section",
       true},
      {"--info " + quoted(modules / "host_failing_setup.so"),
       "lunaform-render: global setup of " + quoted(modules / "host_failing_setup.so") +
           " failed with error 512",
       false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.arguments);
    const ShellRun run = run_render(c.arguments);
    EXPECT_NE(run.exit_code, 0);
    EXPECT_EQ(last_line(run.output), c.line) << run.output;
    if (c.only_line) {
      EXPECT_EQ(run.output, c.line + "\n");
    }
  }
}

TEST(E2eHostRenderTool, CheckAcceptsASceneAndRefusesABadOneInOneLine) {
  const host_test::TempFolder folder;
  const std::filesystem::path good = folder.write(
      "good.json",
      R"({"layers": [{"name": "Sphere", "type": "effect", "params": {"Radius": 300}}]})");
  const ShellRun accepted = run_render("--check " + quoted(good));
  EXPECT_EQ(accepted.exit_code, 0) << accepted.output;
  EXPECT_THAT(accepted.output,
              HasSubstr(good.string() + ": 1920 x 1080, 1 layers: the effect accepts the scene\n"));

  // The name is checked against the parameters the module registered, so a misspelling is
  // refused with the file and the place.
  const std::filesystem::path bad = folder.write(
      "bad.json",
      R"({"layers": [{"name": "Sphere", "type": "effect", "params": {"Radiuss": 300}}]})");
  const ShellRun refused = run_render("--check " + quoted(bad));
  EXPECT_EQ(refused.exit_code, 1);
  const std::string line = last_line(refused.output);
  EXPECT_THAT(line, HasSubstr("lunaform-render: " + bad.string() +
                              ": /layers/0/params/Radiuss: unknown parameter \"Radiuss\""));
  EXPECT_THAT(refused.output, testing::Not(HasSubstr("accepts")));
}

}  // namespace
