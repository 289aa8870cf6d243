#pragma once

#include "platform/text/filetext.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <filesystem>
#include <optional>
#include <span>

namespace galleries {

/// A page with tokens in it that stand for what each call puts there.
///
/// It is bytes: the encoding is the template's own (see platform::FileText), and what is no token comes
/// through unchanged, valid or not.
class PageTemplate {
public:
    /// The largest page that is made, in bytes. Text that is put in is searched for later tokens, so a name
    /// such as "____LINKS" can stand for more than any browser shows.
    static constexpr qsizetype largestPage = qsizetype(1) << 28;

    /// The template at @p path; nothing when it cannot be read.
    [[nodiscard]] static std::optional<PageTemplate> read(const std::filesystem::path &path);

    struct Replacement {
        QByteArrayView token; ///< ASCII; letter case counts
        QString value;        ///< put in as it is, without escaping
    };
    /// The template with the replacements done one after the other over the whole text, each at every
    /// occurrence: later ones also find their tokens in what earlier ones have put in.
    /// @return a null array when it would be larger than largestPage.
    [[nodiscard]] QByteArray page(std::span<const Replacement> replacements) const;

private:
    explicit PageTemplate(QByteArray bytes) : m_text(std::move(bytes)) {}

    platform::FileText m_text;
};

} // namespace galleries
