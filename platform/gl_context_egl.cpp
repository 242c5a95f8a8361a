#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/glew.h>

#include <mutex>
#include <stdexcept>

#include "platform/gl_context.h"

namespace {

// One EGL display serves every context of the process and is never terminated: a second
// global setup builds its renderer before the first one is destroyed, and terminating the
// display would pull it from under a context that is still in use.
EGLDisplay shared_display() {
  static std::once_flag once;
  static EGLDisplay display = EGL_NO_DISPLAY;
  std::call_once(once, [] {
    const auto get_platform_display = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
        eglGetProcAddress("eglGetPlatformDisplayEXT"));
    if (get_platform_display == nullptr) {
      return;
    }
    // Mesa's surfaceless platform needs neither a window system nor a device node; the device
    // platform is the fallback on drivers without it.
    for (const EGLenum platform :
         {EGLenum{EGL_PLATFORM_SURFACELESS_MESA}, EGLenum{EGL_PLATFORM_DEVICE_EXT}}) {
      EGLDisplay candidate = EGL_NO_DISPLAY;
      if (platform == EGL_PLATFORM_DEVICE_EXT) {
        const auto query_devices =
            reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
        EGLDeviceEXT device = nullptr;
        EGLint count = 0;
        if (query_devices == nullptr || !query_devices(1, &device, &count) || count < 1) {
          continue;
        }
        candidate = get_platform_display(platform, device, nullptr);
      } else {
        candidate = get_platform_display(platform, EGL_DEFAULT_DISPLAY, nullptr);
      }
      EGLint major = 0;
      EGLint minor = 0;
      if (candidate != EGL_NO_DISPLAY && eglInitialize(candidate, &major, &minor)) {
        display = candidate;
        return;
      }
    }
  });
  return display;
}

// glewInit loads every GL entry point first and only then looks for GLX, which fails without
// an X display; that second half says nothing about an EGL context.
bool load_gl_entry_points() {
  glewExperimental = GL_TRUE;
  const GLenum result = glewInit();
  return result == GLEW_OK || result == GLEW_ERROR_NO_GLX_DISPLAY;
}

}  // namespace

GlContext::GlContext() {
  display_ = shared_display();
  // The API choice is per thread, so it is made on the thread that will own the context.
  if (display_ == EGL_NO_DISPLAY) {
    throw std::runtime_error(
        "failed to create context: EGL found no display to render on (neither Mesa's "
        "surfaceless platform nor a device)");
  }
  if (!eglBindAPI(EGL_OPENGL_API)) {
    throw std::runtime_error("failed to create context: this EGL does not offer OpenGL");
  }
  const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION,
                               4,
                               EGL_CONTEXT_MINOR_VERSION,
                               1,
                               EGL_CONTEXT_OPENGL_FORWARD_COMPATIBLE,
                               EGL_TRUE,
                               EGL_CONTEXT_OPENGL_PROFILE_MASK,
                               EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                               EGL_NONE};
  context_ = eglCreateContext(display_, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
  if (context_ == EGL_NO_CONTEXT) {
    context_ = nullptr;
    throw std::runtime_error("failed to create OpenGL 4.1 context");
  }
  try {
    make_current();
    GLint major = 0;
    GLint minor = 0;
    glGetIntegerv(GL_MAJOR_VERSION, &major);
    glGetIntegerv(GL_MINOR_VERSION, &minor);
    if (major < 4 || (major == 4 && minor < 1)) {
      throw std::runtime_error("OpenGL context version below required 4.1");
    }
    if (!load_gl_entry_points()) {
      throw std::runtime_error("failed to initialize glew");
    }
  } catch (...) {
    eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(display_, context_);
    throw;
  }
}

GlContext::~GlContext() {
  eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  eglDestroyContext(display_, context_);
  // The thread's EGL state would otherwise keep per-thread data alive after the thread ends.
  eglReleaseThread();
}

void GlContext::make_current() {
  if (!eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_)) {
    throw std::runtime_error("failed to set OpenGL context");
  }
}
