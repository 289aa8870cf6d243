#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace platform::pantomime {

/// Keeps a password out of what a server says: replies go into logs and preferences.
///
/// Only a password of eight characters and more is looked for, and only as a whole word, with no letter or
/// digit beside it: a shorter one may be an ordinary word, of which replies are full.
class ReplyRedaction {
public:
    ReplyRedaction() = default;
    explicit ReplyRedaction(const QString &password);

    /// @p reply, or where it repeats the password, as it is (UTF-8 or Latin-1) or in Base64, its code alone.
    [[nodiscard]] QByteArray redacted(const QByteArray &reply) const;

private:
    std::vector<QString> m_forms; ///< what the password looks like in a reply
};

} // namespace platform::pantomime
