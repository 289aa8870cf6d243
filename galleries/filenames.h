#pragma once

#include <QString>
#include <QStringView>

namespace galleries {

/// A name for a file in the support folder or below it, in two pieces: a name that people gave, and what the
/// galleries put behind it.
struct FileName {
    QString stem;
    QString suffix; ///< from its full stop or hyphen on; may be empty

    [[nodiscard]] QString text() const { return stem + suffix; }
};

/// The name under which a file called @p name and @p suffix is stored: that very name wherever the file
/// system can hold it, whatever characters it has. Otherwise
/// - "/" and NUL become ":";
/// - a @p name that is empty becomes "_";
/// - a name that would be one of the page templates, "." or ".." gets "_" at the end of its stem;
/// - one longer than 255 bytes of UTF-8 is cut between two characters, and its stem ends in "-" and eight
///   hexadecimal digits that differ from name to name.
///
/// Two names may still share a file, by these rules or because they are the same.
/// @param suffix as in FileName. One longer than 64 bytes counts as a part of the name.
[[nodiscard]] FileName fileName(QStringView name, QStringView suffix);

/// The URL-safe form of @p text, as it stands in the pages' links: ASCII letters and digits as they are,
/// every other character up to U+00FF as "%" and its code in two upper-case hexadecimal digits, and every
/// character above as its UTF-8 in that form with lower-case digits, by which the two can be told apart. A
/// surrogate without its partner counts as U+FFFD.
[[nodiscard]] QString urlSafeForm(QStringView text);

} // namespace galleries
