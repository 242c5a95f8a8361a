#pragma once

#include <span>

namespace hxsdk {

// The user's documents folder: XDG_DOCUMENTS_DIR when it names an existing folder, else
// "$HOME/Documents" when that exists. Writes the path, NUL-terminated, into `folder` and
// returns true; returns false when neither exists or the path does not fit.
// Allocates nothing and takes no lock, so a fault handler may call it; any thread.
bool documents_folder(std::span<char> folder);

// The folder for temporary files: TMPDIR when it names an existing folder, else "/tmp".
// Same contract as documents_folder; false only when the path does not fit.
bool temporary_folder(std::span<char> folder);

}  // namespace hxsdk
