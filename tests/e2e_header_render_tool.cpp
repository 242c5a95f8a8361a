#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host_temp_folder.h"
#include "tests/e2e_header_support.h"
#include "tests/shell_command.h"

namespace {

using e2e_header::differences_from_banner;
using testing::AnyOf;
using testing::EndsWith;
using testing::Eq;
using testing::HasSubstr;

// lunaform-render without a display, whatever the test's environment has: nothing may wait for
// a user.
ShellRun run_headless(const std::string& arguments) {
  return run_shell_command("env -u DISPLAY " + std::string(LUNAFORM_RENDER_PATH) + " " + arguments +
                           " 2>&1");
}

// Where the help text and the README put the header control on the panel.
constexpr PF_Point kControlCorner{8, 28};

TEST(E2eHeaderRenderTool, TheControlsImageShowsTheLitBannerWhileThePointerRestsOnTheLink) {
  const host_test::TempFolder folder;
  struct Case {
    const char* pointer;
    bool lit;
  };
  const Case cases[] = {{"", false},
                        {"--pointer 200,40", true},
                        {"--pointer 150,20", true},
                        {"--pointer 281,64", false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.pointer);
    const std::filesystem::path out = folder / "panel.png";
    const ShellRun run = run_headless("--controls '" + out.string() + "' " + c.pointer);
    ASSERT_EQ(run.exit_code, 0) << run.output;
    const e2e_header::RgbImage panel = e2e_header::read_rgb(out);
    ASSERT_EQ(panel.width, 574);
    ASSERT_EQ(panel.height, 120);
    EXPECT_EQ(differences_from_banner(panel, kControlCorner, c.lit), 0);
    EXPECT_GT(differences_from_banner(panel, kControlCorner, !c.lit), 0);
  }
}

TEST(E2eHeaderRenderTool, BadControlsRequestsEndWithOneClearLine) {
  const host_test::TempFolder folder;
  const std::string out = "'" + (folder / "panel.png").string() + "'";
  struct Case {
    std::string arguments;
    std::string last_line;
  };
  const Case cases[] = {
      {"--controls " + out + " --pointer 200",
       "lunaform-render: bad --pointer '200': expected X,Y (two whole numbers)"},
      {"--controls " + out + " --pointer 2,4,0",
       "lunaform-render: bad --pointer '2,4,0': expected X,Y (two whole numbers)"},
      {"--controls " + out + " --pointer 566,10",
       "lunaform-render: --pointer 566,10 lies outside the controls panel (574 x 120 pixels, the "
       "header control's top-left corner at 8,28)"},
      {"--controls /no/such/folder/panel.png",
       "lunaform-render: cannot write '/no/such/folder/panel.png': the folder '/no/such/folder' "
       "does not exist"},
      {"--controls",
       "lunaform-render: --controls shows a window and needs a display (DISPLAY is "
       "not set); --controls OUT.png draws the panel into a file instead"},
      {"--controls --pointer 1,2", "lunaform-render: --pointer needs --controls OUT.png"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.arguments);
    const ShellRun run = run_headless(c.arguments);
    EXPECT_NE(run.exit_code, 0);
    // The module's own line at global setup may come first.
    EXPECT_THAT(run.output, AnyOf(Eq(c.last_line + "\n"), EndsWith("\n" + c.last_line + "\n")));
    EXPECT_FALSE(std::filesystem::exists(folder / "panel.png"));
  }
}

TEST(E2eHeaderRenderTool, AboutWithoutADisplayWritesTheEffectsNameAndVersion) {
  const ShellRun run = run_headless("--about");
  EXPECT_EQ(run.exit_code, 0) << run.output;
  EXPECT_THAT(run.output, HasSubstr("Lunaform v1.0.2 (66)"));
}

}  // namespace
