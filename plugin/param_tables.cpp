#include "plugin/param_tables.h"

std::vector<std::uint32_t> param_index_by_id;
std::vector<std::uint32_t> param_id_by_index;
std::vector<std::unique_ptr<const std::string>> popup_choice_strings;

void reserve_param_tables() {
  // reserve() never shrinks, so this also leaves larger capacities alone.
  popup_choice_strings.reserve(100);
  param_index_by_id.reserve(500);
  param_id_by_index.reserve(100);
}
