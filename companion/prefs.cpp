#include "companion/commands.h"
#include "companion/console.h"
#include "companion/passwordprompt.h"

#include "platform/mail/mailaddress.h"

#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/propertylist/values.h"
#include "platform/text/encoding.h"

#include <algorithm>
#include <array>
#include <memory>

using platform::PropertyList;

namespace companion {

namespace {

enum class Type { String, Boolean, Integer, Address, Password };

struct Preference {
    QStringView key;
    Type type;
};

// In the order in which they are listed.
constexpr std::array<Preference, 11> preferences{{
    {platform::preference::emailAddress, Type::Address},
    {platform::preference::forceUniqueSubjects, Type::Boolean},
    {platform::preference::subjectNumber, Type::Integer},
    {platform::preference::emailNeedsUsername, Type::Integer},
    {platform::preference::emailUsername, Type::String},
    {platform::preference::emailPassword, Type::Password},
    {platform::preference::imageEntry, Type::String},
    {platform::preference::bookmarkEntry, Type::String},
    {platform::preference::errorStatus, Type::Integer},
    {platform::preference::reportThis, Type::String},
    {platform::preference::emailFails, Type::Integer},
}};

QString typeName(Type type)
{
    switch (type) {
    case Type::String: return QStringLiteral("text");
    case Type::Boolean: return QStringLiteral("YES or NO");
    case Type::Integer: return QStringLiteral("integer");
    case Type::Address: return QStringLiteral("mail address");
    case Type::Password: return QStringLiteral("password, asked for");
    }
    return {};
}

const Preference *preferenceNamed(const QString &key)
{
    const auto *found = std::find_if(preferences.begin(), preferences.end(),
                                     [&](const Preference &p) { return p.key == key; });
    return found == preferences.end() ? nullptr : found;
}

/// What @p preference takes, in one line.
QString whatItTakes(const Preference &preference)
{
    switch (preference.type) {
    case Type::String: return QStringLiteral("%1 takes any text.").arg(preference.key);
    case Type::Boolean: return QStringLiteral("%1 takes YES or NO.").arg(preference.key);
    case Type::Integer: return QStringLiteral("%1 takes an integer.").arg(preference.key);
    case Type::Address:
        return QStringLiteral("%1 takes a mail address without a name, such as kim@example.org.")
            .arg(preference.key);
    case Type::Password:
        return QStringLiteral(
                   "%1 takes no password on the command line: leave it out, and you are asked for it.")
            .arg(preference.key);
    }
    return {};
}

int refuseKey(const QString &key)
{
    printError(QStringLiteral("There is no preference called %1. There are:").arg(key));
    for (const Preference &preference : preferences)
        printError(QStringLiteral("  %1 (%2)").arg(preference.key, typeName(preference.type)));
    return exitWrongUsage;
}

/// The value of @p preference for people; nothing when it is not set.
std::optional<QString> shownValue(const Preference &preference)
{
    const PropertyList value = platform::CFPreferencesCopyAppValue(preference.key);
    if (value.isNull())
        return std::nullopt;
    if (preference.type == Type::Password)
        return QStringLiteral("(set)");
    if (preference.type == Type::Boolean) {
        if (const auto truth = platform::booleanFrom(value))
            return *truth ? QStringLiteral("YES") : QStringLiteral("NO");
    }
    if (const auto text = value.string())
        return text;
    if (const auto number = platform::integerFrom(value))
        return QString::number(*number);
    return QStringLiteral("(a value of another type)");
}

/// @p text from the command line as a value for @p preference; Null when it cannot be one.
PropertyList valueFor(const Preference &preference, const QString &text)
{
    PropertyList string = PropertyList::fromString(text);
    switch (preference.type) {
    case Type::Boolean: {
        const auto truth = platform::booleanFrom(string);
        return truth ? PropertyList::fromBoolean(*truth) : PropertyList();
    }
    case Type::Integer: {
        const auto number = platform::integerFrom(string);
        return number ? PropertyList::fromInteger(*number) : PropertyList();
    }
    case Type::Address: return platform::isBareAddress(text) ? string : PropertyList();
    case Type::String: return string;
    case Type::Password: break; // it would be seen on the command line
    }
    return {};
}

int store(const Preference &preference, const PropertyList &value)
{
    platform::CFPreferencesSetAppValue(preference.key, value);
    if (platform::CFPreferencesAppSynchronize())
        return exitDone;
    printError(QStringLiteral("The preferences could not be written."));
    return exitFailed;
}

int listAll()
{
    for (const Preference &preference : preferences)
        printLine(QStringLiteral("%1: %2").arg(preference.key,
                                               shownValue(preference).value_or(QStringLiteral("(not set)"))));
    return exitDone;
}

int showOrAsk(const Preference &preference)
{
    if (preference.type == Type::Password) {
        const auto password = readPassword();
        if (password)
            return store(preference, PropertyList::fromString(*password));
        printError(QStringLiteral("No password was given."));
        return exitFailed;
    }
    const auto value = shownValue(preference);
    if (!value) {
        printError(QStringLiteral("%1 is not set.").arg(preference.key));
        return exitFailed;
    }
    printLine(*value);
    return exitDone;
}

struct Options {
    std::string key;
    std::string value;
    std::string deleted;
    bool hasValue = false;
};

int prefs(const Options &options)
{
    const QString key = platform::stringFromUtf8(options.deleted.empty() ? options.key : options.deleted);
    if (key.isEmpty())
        return listAll();
    const Preference *preference = preferenceNamed(key);
    if (!preference)
        return refuseKey(key);
    if (!options.deleted.empty())
        return store(*preference, PropertyList());
    if (!options.hasValue)
        return showOrAsk(*preference);
    const PropertyList value = valueFor(*preference, platform::stringFromUtf8(options.value));
    if (value.isNull()) {
        printError(whatItTakes(*preference));
        return exitWrongUsage;
    }
    return store(*preference, value);
}

} // namespace

void addPrefsCommand(CLI::App &commands, Action &action)
{
    const auto options = std::make_shared<Options>();
    CLI::App *command = commands.add_subcommand("prefs", "Show or change the preferences");
    CLI::Option *key =
        command->add_option("KEY", options->key, "Preference to show or change; by default all are listed");
    CLI::Option *value = command->add_option("VALUE", options->value, "New value");
    command->add_option("--delete", options->deleted, "Preference to remove")
        ->type_name("KEY")
        ->excludes(key)
        ->excludes(value);
    command->footer("To be asked for the password: prattlebug prefs emailPassword\n"
                    "Example: prattlebug prefs emailAddress kim@example.org\n"
                    "Exit code: 1 when a preference is not set or cannot be written, 2 for an unknown key or "
                    "a wrong value.");
    command->callback([options, value, &action] {
        options->hasValue = value->count() > 0;
        action = [options] { return prefs(*options); };
    });
}

} // namespace companion
