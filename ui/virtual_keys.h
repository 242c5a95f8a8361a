#pragma once

#include <cstdint>

struct SDL_Keysym;

namespace hxsdk::ui {

// The virtual-key code the toolkit's handlers compare with (Enter 13, Escape 27, Tab 9, Space
// 32, letters 'A' to 'Z', digits '0' to '9', F1 112, ...), or 0 for a key without one.
int virtual_key(const SDL_Keysym& key);

// The key data that comes with a raw key down: a repeat count of 1 in bits 0 to 15, the key's
// scan code in bits 16 to 23 and, for a key that was already down, bit 30.
std::uint32_t key_data(const SDL_Keysym& key, bool repeat);

}  // namespace hxsdk::ui
