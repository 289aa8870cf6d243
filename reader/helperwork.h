#pragma once

#include <QSize>

#include <optional>

namespace reader {

// What the program does in processes of its own (helperprocess.h, indexupdate.h): whatever decodes files, or
// wants a program with one thread. A request on standard input is its size, as 8 bytes in the machine's
// order, and its bytes; so is the answer on standard output.

inline constexpr char helperOption[] = "--work-for-the-window";

/// A chat: the request is a path, the answer 'c' and a conversation as bytes, or 'u' and the reason, in
/// English, in UTF-8.
inline constexpr char chatsWork[] = "chats";
/// A picture: the request is a PictureRequest and the file, the answer a PictureAnswer and the pixels, or
/// nothing when it cannot be decoded. The process may use 768 MiB of memory.
inline constexpr char picturesWork[] = "pictures";
/// The index: see indexupdate.h. Takes arguments instead of requests.
inline constexpr char indexWork[] = "index";

/// The largest picture that is wanted, in pixels; it is never made larger than it is.
struct PictureRequest {
    qint32 width = 0;
    qint32 height = 0;
};
/// Rows of premultiplied pixels of 32 bits, without gaps (QImage::Format_ARGB32_Premultiplied).
struct PictureAnswer {
    qint32 width = 0;
    qint32 height = 0;
    qint32 wholeWidth = 0; ///< what the picture has when it is not made smaller, turned as its file says
    qint32 wholeHeight = 0;
};

/// Does the work that the command line names, as a whole program does.
/// @return the exit code; nothing when the command line names none.
[[nodiscard]] std::optional<int> workForTheWindow(int argc, char **argv);

} // namespace reader
