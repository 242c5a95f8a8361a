#pragma once

#include "plugin/command_context.h"
#include "plugin/host_suites.h"
#include "scene/motion_blur.h"

// The frame's motion-blur sample count and shutter fraction from the composition's and the
// effect layer's motion-blur switches, the composition's shutter and the effect's "Motion
// Blur" parameters (see choose_motion_blur).
motion_blur_settings read_motion_blur(CommandContext& context, HostSuites& suites);
