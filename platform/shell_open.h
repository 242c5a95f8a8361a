#pragma once

#include <functional>
#include <string_view>

namespace hxsdk {

// Opens `address` (a web page, a file) with the desktop's default handler, as a person would
// by double-clicking it: `xdg-open` started directly, without a shell, and not waited for.
// Fire and forget: whether a handler exists or succeeds is not reported. Any thread.
void open_with_shell(std::string_view address);

// Replaces what open_with_shell does (tests record the addresses this way). An empty function
// restores the default. Returns the previous opener.
using ShellOpener = std::function<void(std::string_view address)>;
ShellOpener set_shell_opener(ShellOpener opener);

}  // namespace hxsdk
