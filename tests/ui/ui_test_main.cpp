// The window tests' own main: every test process gets a private X server (Xvfb) on a free
// display, so that tests can run side by side and never touch a person's screen. The screen is
// 1920 x 1920 pixels at 96 dots per inch, or at LUNAFORM_TEST_DPI when that is set; at either a
// whole number of millimetres spans the screen, so the server reports the DPI exactly.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace {

class private_x_server : public testing::Environment {
 public:
  void SetUp() override {
    int ready[2];
    if (pipe(ready) != 0) {
      throw std::runtime_error("cannot make a pipe for Xvfb");
    }
    const char* dpi = std::getenv("LUNAFORM_TEST_DPI");
    const std::string displayfd = std::to_string(ready[1]);
    const std::string dots = dpi != nullptr ? dpi : "96";
    server_ = fork();
    if (server_ == 0) {
      // The server goes with the test process however that ends, and keeps its chatter and the
      // test's output pipes to itself.
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      const int quiet = open("/dev/null", O_WRONLY);
      dup2(quiet, STDOUT_FILENO);
      dup2(quiet, STDERR_FILENO);
      close(ready[0]);
      execlp("Xvfb", "Xvfb", "-displayfd", displayfd.c_str(), "-screen", "0", "1920x1920x24",
             "-dpi", dots.c_str(), "-nolisten", "tcp", "-noreset", nullptr);
      _exit(127);
    }
    close(ready[1]);
    // Xvfb writes its display number and a newline once it accepts connections.
    std::string number;
    char c = 0;
    while (read(ready[0], &c, 1) == 1 && c != '\n') {
      number += c;
    }
    close(ready[0]);
    if (number.empty()) {
      throw std::runtime_error("Xvfb did not start (install it with scripts/install-deps)");
    }
    setenv("DISPLAY", (":" + number).c_str(), 1);
    // Xvfb's RandR outputs report no physical size; the core protocol's screen size is exact.
    setenv("SDL_VIDEO_X11_XRANDR", "0", 1);
  }

  void TearDown() override {
    if (server_ > 0) {
      kill(server_, SIGTERM);
      waitpid(server_, nullptr, 0);
    }
  }

 private:
  pid_t server_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::AddGlobalTestEnvironment(new private_x_server);
  return RUN_ALL_TESTS();
}
