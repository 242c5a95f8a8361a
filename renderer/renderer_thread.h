#pragma once

#include "renderer/basic_renderer_thread.h"
#include "renderer/renderer.h"

// The module's render thread: owns the Renderer and with it the GL context.
using RendererThread = BasicRendererThread<Renderer>;
