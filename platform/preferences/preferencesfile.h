#pragma once

#include "platform/propertylist/propertylist.h"

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace platform {

/// The contents of a preferences file: a property list with a dictionary at its root.
///
/// Values are kept as their source text, so that writing the file again leaves those that nobody has set as
/// they were, whether anything can be made of them or not.
class PreferencesFile {
public:
    /// No preferences at all.
    PreferencesFile() = default;
    /// Of a file's bytes, in any form that a property list has. From the binary and the older text form,
    /// values become the nearest element of the XML form.
    /// @return nothing when the bytes are no such list: not well-formed, or no dictionary.
    [[nodiscard]] static std::optional<PreferencesFile> fromBytes(const QByteArray &bytes);

    /// Whether bytes() says all that was in the file. Only from a binary list can anything have been lost.
    [[nodiscard]] bool isWhole() const { return m_isWhole; }
    /// The value under @p key; Null when there is none, or none that can be read.
    [[nodiscard]] PropertyList value(QStringView key) const;
    /// Sets each key of @p changes to its value; Null removes it.
    void apply(const std::map<QString, PropertyList> &changes);
    /// The file in the XML form.
    [[nodiscard]] QByteArray bytes() const;

private:
    struct Pair {
        std::optional<QString> key; ///< nothing when it cannot be read
        QByteArray keyElement;      ///< both in the XML form
        QByteArray valueElement;
        PropertyList value; ///< Null when it cannot be read
    };

    [[nodiscard]] static std::optional<PreferencesFile> fromXml(const QByteArray &bytes);
    [[nodiscard]] static std::optional<PreferencesFile> fromList(const QByteArray &bytes);

    void add(const QString &key, const PropertyList &value);

    std::vector<Pair> m_pairs; ///< in the order of the file; a key may come twice, then the first one counts
    bool m_isWhole = true;
};

} // namespace platform
