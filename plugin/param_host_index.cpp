#include "plugin/param_host_index.h"

#include <string>

#include "plugin/hx_exception.h"
#include "plugin/param_tables.h"

PF_ParamIndex param_host_index(std::int32_t id) {
  const auto slot = static_cast<std::size_t>(id);
  if (id < 0 || slot >= param_index_by_id.size() || param_index_by_id[slot] == 0) {
    throw hx_exception("Parameter " + std::to_string(id) +
                       " was read before the host set up the effect's parameters.");
  }
  return static_cast<PF_ParamIndex>(param_index_by_id[slot]);
}
