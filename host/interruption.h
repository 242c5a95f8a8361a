#pragma once

#include <filesystem>

namespace lunaform::host {

// Makes SIGTERM (a batch scheduler ending a job) and SIGINT (Ctrl+C) end the process at once
// and cleanly: the file being written at that moment, if any, is removed, one line
// "PROGRAM: interrupted" goes to standard error, and the process exits with `exit_code`. Frames
// already written stay; the one in progress leaves nothing behind. Call from the main thread,
// early, and again after loading and setting up a module: libraries it brings may put in
// handlers of their own.
void end_on_interruption(const char* program, int exit_code);

// Names the file being written now, removed if the process is interrupted before it is
// finished (forgotten). One such file at a time; used by the thread that writes it.
void note_partial_file(const std::filesystem::path& file);
void forget_partial_file();

}  // namespace lunaform::host
