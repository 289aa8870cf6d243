#include "reader/speakercolors.h"

#include "reader/textcolors.h"

#include <array>

namespace reader {

std::vector<QColor> speakerColors(const conversation::Conversation &chat, const QPalette &palette)
{
    constexpr std::array onLight{0x9a3412, 0x166534, 0x6b21a8, 0x0f766e, 0xbe185d, 0x854d0e};
    constexpr std::array onDark{0xf0a27a, 0x86d39a, 0xc9a3f0, 0x7fd1c7, 0xf09ac0, 0xe0c070};
    constexpr int usersOnLight = 0x1d4ed8;
    constexpr int usersOnDark = 0x8db8ff;
    const auto &colors = isDark(palette) ? onDark : onLight;
    std::vector<QColor> result;
    size_t others = 0;
    for (const conversation::Speaker &speaker : chat.speakers) {
        const int users = isDark(palette) ? usersOnDark : usersOnLight;
        result.emplace_back(QRgb(speaker.isUser ? users : colors.at(others++ % colors.size())));
    }
    return result;
}

} // namespace reader
