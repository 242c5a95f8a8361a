#pragma once

#include <memory>

#include "host/effect_host.h"
#include "host/pixel_world.h"

namespace lunaform::host {

// Renders composition frame `frame` through `host` as a host renders one frame of the effect's
// layer: re-reads the footage files that changed on disk (host.refresh_footage(); its warnings
// wait in host.take_footage_warnings()), sets settings().current_time to frame ×
// settings().time_step, sends Smart PreRender, then Smart Render, and hands the output world on.
//
// Before: the module in `host` has had global, parameter and sequence setup, and the host has
// its composition (set_composition) and the render settings it is to use: bits_per_channel,
// downsample_x / downsample_y, output_rect. They are used as they are; only current_time is
// changed.
//
// Returns the output world, owned by the caller: bits_per_channel deep, the size of
// settings().output_rect (unset: the whole downsampled layer) with origin_x / origin_y at that
// rectangle's top-left corner, rows padded (PixelWorld). It holds what the module wrote during
// this render and transparent black (all zero) wherever it wrote nothing, even when it never
// checked the output out: the host clears every output world before the module sees it, so
// nothing of an earlier frame shows through.
//
// Throws HostError with one line for a frame outside the composition ("frame 300 lies outside
// the composition, which has frames 0-299"), for an error the module returns ("Smart Render of
// frame 3 failed with error 512"; the module's own message, if any, it showed itself) and for
// impossible settings. Host calls the module made wrongly do not throw; they are listed in
// host.problems(). Call on the host's thread.
std::unique_ptr<PixelWorld> render_frame(EffectHost& host, int frame);

// render_frame() in two steps, for a frame rendered in tiles: begin_frame() checks the frame,
// sets the time and re-reads changed footage, once per frame, so that every tile shows the
// same footage; render_output() then renders settings().output_rect as it is set for each tile
// (Smart PreRender, Smart Render) and hands its output world on. Both throw as render_frame().
void begin_frame(EffectHost& host, int frame);
std::unique_ptr<PixelWorld> render_output(EffectHost& host, int frame);

}  // namespace lunaform::host
