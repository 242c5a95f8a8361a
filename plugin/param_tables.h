#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// Process-wide translation between the effect's parameter ids (ParamId) and the host's
// parameter indices, shared by every effect instance. Written only during parameter setup,
// which the host sends before any render or UI command; read-only afterwards, unguarded.

// Host index by parameter id; 0 for ids never registered.
extern std::vector<std::uint32_t> param_index_by_id;
// Parameter id by host index; index 0 (the host's own input layer) holds 0.
extern std::vector<std::uint32_t> param_id_by_index;
// The choice list of every popup registered so far. The host keeps a pointer into each
// string for as long as the module is loaded, so the characters never move and are never
// released: each string lives in its own block, wherever the list itself relocates.
extern std::vector<std::unique_ptr<const std::string>> popup_choice_strings;

// Reserves the capacities that parameter setup works within (popup strings 100,
// index-by-id 500, id-by-index 100), each only where the current capacity is smaller.
void reserve_param_tables();
