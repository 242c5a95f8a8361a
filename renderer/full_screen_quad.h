#pragma once

#include <GL/glew.h>

// Four vertices (0, 0), (1, 0), (0, 1), (1, 1) at attribute 0, drawn as a triangle strip: the
// quad vertex shader stretches it over the whole viewport. Render thread only.
class FullScreenQuad {
 public:
  FullScreenQuad();
  ~FullScreenQuad();
  FullScreenQuad(const FullScreenQuad&) = delete;
  FullScreenQuad& operator=(const FullScreenQuad&) = delete;

  // Draws with the program in use; leaves the vertex array bound.
  void draw() const;

 private:
  GLuint vertex_array_ = 0;
  GLuint vertex_buffer_ = 0;
};
