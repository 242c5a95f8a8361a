#include "renderer/full_screen_quad.h"

FullScreenQuad::FullScreenQuad() {
  static const GLfloat kCorners[] = {0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f};
  glGenVertexArrays(1, &vertex_array_);
  glBindVertexArray(vertex_array_);
  glGenBuffers(1, &vertex_buffer_);
  glBindBuffer(GL_ARRAY_BUFFER, vertex_buffer_);
  glBufferData(GL_ARRAY_BUFFER, sizeof(kCorners), kCorners, GL_STATIC_DRAW);
  glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
  glEnableVertexAttribArray(0);
  glBindVertexArray(0);
  glBindBuffer(GL_ARRAY_BUFFER, 0);
}

FullScreenQuad::~FullScreenQuad() {
  glDeleteBuffers(1, &vertex_buffer_);
  glDeleteVertexArrays(1, &vertex_array_);
}

void FullScreenQuad::draw() const {
  glBindVertexArray(vertex_array_);
  glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}
