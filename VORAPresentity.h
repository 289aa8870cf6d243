#pragma once

#include "platform/archive/coder.h"
#include "platform/foundation/nsattributedstring.h"

#include <QString>

#include <memory>
#include <optional>

/// One participant of a chat as iChat archived it: a service and the participant's identifier on that
/// service.
///
/// Made by the unarchivers in place of iChat's class "Presentity"; immutable.
class VORAPresentity final : public platform::NSObject {
public:
    VORAPresentity(std::optional<QString> protocol, std::optional<QString> name);

    /// Keyed archives: "ServiceName", then "ID". Typed streams: the same two objects in sequence. Without an
    /// identifier that can be read, the presentity cannot be.
    [[nodiscard]] static std::shared_ptr<const VORAPresentity> initWithCoder(platform::NSCoder &coder);

    /// The display name, worked out anew on every call:
    /// - " myself " on SubNet is the login name (the environment's USER, else the password database's entry);
    /// - any other SubNet identifier is what stands before its first "@";
    /// - the user's own AIM screen name is the user's full name as the address book has it;
    /// - any other AIM screen name is resolved by ResolveAIMName();
    /// - on every other service it is the identifier.
    ///
    /// Nothing when the presentity has no identifier.
    [[nodiscard]] std::optional<QString> Name() const;
    /// The identifier as archived; nothing when there was none.
    [[nodiscard]] const std::optional<QString> &rawName() const { return m_name; }
    /// The service as archived, such as "AIM" or "SubNet"; nothing when there was none.
    [[nodiscard]] const std::optional<QString> &Protocol() const { return m_protocol; }
    /// The display name in bold 12-point Helvetica.
    [[nodiscard]] platform::NSAttributedString RichName() const;

    /// First and last name of the first address book card with this AIM screen name (compared exactly), or
    /// the screen name itself when there is no such card or it lacks one of the two.
    [[nodiscard]] static QString ResolveAIMName(const QString &screenName);

    [[nodiscard]] QString className() const override { return QStringLiteral("VORAPresentity"); }
    /// "kimlee on protocol AIM".
    [[nodiscard]] QString description() const override;

private:
    std::optional<QString> m_protocol;
    std::optional<QString> m_name;
};
