#pragma once

#include <ostream>

#include "AE_Effect.h"
#include "host/param_list.h"
#include "host/pipl.h"

namespace lunaform::host {

// Human-readable reports of what a host learns about an effect, as `lunaform-render --info`
// prints them. Each writes complete lines to `out`; pure apart from the stream.

// The PiPL fields: name, category, match name, entry point, decoded version, flags in hex.
void write_pipl_report(std::ostream& out, const Pipl& pipl);

// The version and flags the module declared in the out-data of global setup.
void write_global_setup_report(std::ostream& out, const PF_OutData& out_data);

// One line per parameter in host index order: index, id, type, name, what the type defines
// (ranges, default and precision of float sliders, popup choices and default, checkbox default
// and label, ...) and the parameter and UI flags.
void write_param_table(std::ostream& out, const ParamList& params);

}  // namespace lunaform::host
