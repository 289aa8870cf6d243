#include "galleries/pagetemplate.h"

#include "platform/files/files.h"

namespace galleries {

std::optional<PageTemplate> PageTemplate::read(const std::filesystem::path &path)
{
    auto file = platform::readWholeFile(path);
    if (!file)
        return std::nullopt;
    return PageTemplate(std::move(*file));
}

QByteArray PageTemplate::page(std::span<const Replacement> replacements) const
{
    platform::FileText text = m_text;
    for (const auto &[token, value] : replacements) {
        if (!text.replace(token, value, largestPage))
            return {};
    }
    return text.bytes();
}

} // namespace galleries
