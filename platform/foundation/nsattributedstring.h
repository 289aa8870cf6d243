#pragma once

#include "platform/foundation/collections.h"

#include <QString>
#include <QStringView>

#include <memory>
#include <vector>

namespace platform {

/// The attributes of a run of characters by name, or null for none at all.
using AttributesRef = std::shared_ptr<const NSDictionary>;

// Attribute names, as archives spell them.
inline constexpr QStringView NSAttachmentAttributeName = u"NSAttachment";
inline constexpr QStringView NSForegroundColorAttributeName = u"NSColor";
inline constexpr QStringView NSFontAttributeName = u"NSFont";
inline constexpr QStringView NSLinkAttributeName = u"NSLink";

/// Text with attributes: a string, and runs of characters that share a set of attributes.
///
/// The runs cover the text from its start to its end without gaps. Neighbours never have the same set (the
/// same object, or both none): they are one run; neighbours with equal but distinct sets stay two.
class NSAttributedString final : public NSObject {
public:
    struct Run {
        qsizetype length; ///< in UTF-16 units, at least 1
        AttributesRef attributes;
    };

    NSAttributedString() = default;
    /// @p string without attributes.
    explicit NSAttributedString(const QString &string) : NSAttributedString(string, {}) {}
    /// @p string with @p runs from its start on, as an archive gives them: runs of length 0 or less are left
    /// out, one that reaches past the text is cut, neighbours with the same set become one, and text that no
    /// run covers has no attributes.
    NSAttributedString(QString string, std::vector<Run> runs);

    [[nodiscard]] const QString &string() const { return m_string; }
    /// In UTF-16 units.
    [[nodiscard]] qsizetype length() const { return m_string.size(); }
    [[nodiscard]] const std::vector<Run> &runs() const { return m_runs; }
    /// Whether any character has the attribute @p name.
    [[nodiscard]] bool hasAttribute(QStringView name) const;

    /// Appends @p text with one set of attributes over all of it.
    void append(QStringView text, const AttributesRef &attributes);
    /// Appends another text with its attributes; the sets are shared, not copied.
    void append(const NSAttributedString &other);

    [[nodiscard]] QString className() const override { return QStringLiteral("NSAttributedString"); }
    /// Its characters, without the attributes.
    [[nodiscard]] QString description() const override { return m_string; }

private:
    void extendRuns(qsizetype length, const AttributesRef &attributes);

    QString m_string;
    std::vector<Run> m_runs;
};

} // namespace platform
