#pragma once

#include "host/suite_registry.h"

namespace lunaform::host {

// Offers every suite this host implements under the names and versions modules acquire them
// by: "AEGP Utility Suite" 10, "AEGP PF Interface Suite" 1, "AEGP Camera Suite" 2, "AEGP Comp
// Suite" 11, "AEGP Item Suite" 10, "AEGP Layer Suite" 11, "AEGP Light Suite" 2, "AEGP Stream
// Suite" 7, "AEGP Dynamic Stream Suite" 2, "AEGP Effect Suite" 2, "PF Param Utils Suite" 3,
// "PF Effect Custom UI Suite" 1, "DRAWBOT Draw Suite" 1, "DRAWBOT Supplier Suite" 1 and
// "DRAWBOT Surface Suite" 1.
// The tables are process-wide and live forever; every entry answers for the host the call
// belongs to (by effect reference, else the host active on the thread). Functions a table
// holds but the host does not implement return an error and note a problem.
void provide_host_suites(SuiteRegistry& registry);

}  // namespace lunaform::host
