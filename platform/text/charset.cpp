#include "platform/text/charset.h"

#include <array>
#include <cerrno>
#include <iconv.h>

namespace platform {

std::optional<QString> stringFromCharset(QByteArrayView bytes, const char *charset)
{
    const iconv_t converter = iconv_open("UTF-16LE", charset);
    if (converter == iconv_t(-1)) // how iconv reports failure
        return std::nullopt;
    QString text;
    std::array<char16_t, 256> buffer{};
    auto *input = const_cast<char *>(bytes.data()); // iconv only reads
    auto left = size_t(bytes.size());
    while (left > 0) {
        auto *output = reinterpret_cast<char *>(buffer.data());
        size_t room = sizeof(buffer);
        const bool complete = iconv(converter, &input, &left, &output, &room) != size_t(-1);
        const int error = errno;
        text += QStringView(buffer.data(), qsizetype((sizeof(buffer) - room) / sizeof(char16_t)));
        if (!complete && error != E2BIG) { // not of this charset, or cut off in the middle
            text += QChar::ReplacementCharacter;
            ++input;
            --left;
        }
    }
    iconv_close(converter);
    return text;
}

} // namespace platform
