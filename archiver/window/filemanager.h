#pragma once

#include <filesystem>

/// Has the desktop's file manager show the folder of the file at @p path with the file selected; where none
/// listens on the session bus, opens the folder with whatever the desktop opens folders with. When there is
/// nothing at @p path, the nearest folder above it that exists is shown.
///
/// Returns at once; the answer is awaited in the event loop.
void revealInFileManager(const std::filesystem::path &path);
