#pragma once

#include "conversation/conversation.h"

#include <array>

namespace conversation {

/// The colour of a speaker's name, as 0xRRGGBB.
struct SpeakerColor {
    quint32 onLight = 0; ///< for light backgrounds, down to 0xEDEDF0
    quint32 onDark = 0;  ///< for dark ones, up to 0x2C2E36
};

/// Each has a contrast of at least 4.5 to 1 to its backgrounds, as WCAG 2.1 asks of text (1.4.3). The first
/// is the user's.
inline constexpr std::array<SpeakerColor, 10> speakerColors{{
    {0x1A5FB4, 0x7FB3FF}, // blue
    {0xA51D2D, 0xFF9AA2}, // red
    {0x1B6B3C, 0x7DDBA0}, // green
    {0x7B2FA8, 0xD3A1F5}, // purple
    {0x8A4B08, 0xF0B866}, // brown
    {0x0B6474, 0x6FD6E8}, // teal
    {0x9C2271, 0xF59BD3}, // magenta
    {0x545F00, 0xCBD46A}, // olive
    {0x4A4FC4, 0xAAB0FF}, // indigo
    {0x9C3A1B, 0xF5A688}, // rust
}};

/// Which of these @p speaker, a position in Conversation::speakers, has in @p conversation: the first for the
/// user, the others in the order of the speakers, from the start again where they are too few.
[[nodiscard]] inline size_t speakerColor(const Conversation &conversation, size_t speaker)
{
    if (conversation.speakers[speaker].isUser)
        return 0;
    size_t others = 0;
    for (size_t before = 0; before < speaker; ++before)
        others += conversation.speakers[before].isUser ? 0 : 1;
    return 1 + others % (speakerColors.size() - 1);
}

} // namespace conversation
