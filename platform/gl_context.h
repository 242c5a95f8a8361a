#pragma once

// The renderer's OpenGL 4.1 core context, created current on the calling thread (the render
// thread) with no window and no default framebuffer: everything is drawn into framebuffer
// objects. One file per platform defines this class; the build picks the file.
//
// Every failure throws std::runtime_error with a fixed lower-case text that the user sees
// after the module's initialisation-failure message. A half-built context is released by the
// destructor, so a failure leaves nothing behind.
class GlContext {
 public:
  // Creates the context, makes it current on this thread, checks that it is at least 4.1 and
  // loads the GL entry points.
  GlContext();
  ~GlContext();
  GlContext(const GlContext&) = delete;
  GlContext& operator=(const GlContext&) = delete;

  // Makes the context current on the calling thread again.
  void make_current();

  // What the OpenCL device choice needs to share this context: the native context and display
  // handles.
  void* native_context() const { return context_; }
  void* native_display() const { return display_; }

 private:
  void* display_ = nullptr;
  void* context_ = nullptr;
};
