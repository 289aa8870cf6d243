#include "VORAPresentity.h"

#include "platform/addressbook/addressbook.h"
#include "platform/appkit/nsfont.h"
#include "platform/foundation/scalars.h"
#include "platform/text/encoding.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

using platform::ABAddressBook;
using platform::NSAttributedString;
using platform::NSCoder;
using platform::NSDictionary;
using platform::NSString;

namespace {

std::optional<QString> textOf(const std::shared_ptr<const NSString> &object)
{
    return object ? std::optional(object->string()) : std::nullopt;
}

QString loginName()
{
    if (const char *user = std::getenv("USER"))
        return platform::stringFromUtf8(user);
    if (const passwd *entry = getpwuid(getuid()); entry && entry->pw_name)
        return platform::stringFromUtf8(entry->pw_name);
    return {};
}

} // namespace

VORAPresentity::VORAPresentity(std::optional<QString> protocol, std::optional<QString> name)
    : m_protocol(std::move(protocol)), m_name(std::move(name))
{
}

std::shared_ptr<const VORAPresentity> VORAPresentity::initWithCoder(NSCoder &coder)
{
    const bool keyed = coder.allowsKeyedCoding();
    auto protocol = textOf(keyed ? coder.decodeForKey<NSString>("ServiceName") : coder.decode<NSString>());
    auto name =
        textOf(platform::readable<NSString>(keyed ? coder.decodeObjectForKey("ID") : coder.decodeObject()));
    return std::make_shared<VORAPresentity>(std::move(protocol), std::move(name));
}

std::optional<QString> VORAPresentity::Name() const
{
    if (!m_name)
        return std::nullopt;
    const QStringView service = m_protocol ? QStringView(*m_protocol) : QStringView();
    if (service == u"SubNet") {
        if (*m_name == u" myself ")
            return loginName();
        return m_name->left(
            m_name->indexOf(u'@')); // without an "@" the index is -1, and left() gives all of it
    }
    if (service == u"AIM") {
        const platform::ABPerson *me = ABAddressBook::sharedAddressBook().me();
        if (me && !me->aimNames.isEmpty() && me->aimNames[me->primaryAimName] == *m_name)
            return me->fullName.value_or(*m_name);
        return ResolveAIMName(*m_name);
    }
    return m_name;
}

NSAttributedString VORAPresentity::RichName() const
{
    // Made once: it never changes, and a chat asks for it with every message.
    static const platform::AttributesRef attributes = [] {
        const auto font =
            platform::convertFont({QStringLiteral("Helvetica"), 12.0}, platform::NSFontTrait::Bold);
        return std::make_shared<const NSDictionary>(std::vector<NSDictionary::Entry>{
            {platform::NSFontAttributeName.toString(), std::make_shared<platform::NSFont>(font)}});
    }();
    NSAttributedString name;
    name.append(Name().value_or(QString()), attributes);
    return name;
}

QString VORAPresentity::ResolveAIMName(const QString &screenName)
{
    const auto &cards = ABAddressBook::sharedAddressBook().recordsMatchingAimName(screenName);
    return cards.empty() ? screenName : cards.front()->fullName.value_or(screenName);
}

QString VORAPresentity::description() const
{
    const QString none = QStringLiteral("(null)");
    return m_name.value_or(none) + QStringLiteral(" on protocol ") + m_protocol.value_or(none);
}
