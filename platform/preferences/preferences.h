#pragma once

#include "platform/propertylist/propertylist.h"

#include <QString>
#include <QStringView>

#include <filesystem>

namespace platform {

// The shared preferences domain com.velmoria.prattlebug: a property list with a dictionary at its root,
// `Library/Preferences/com.velmoria.prattlebug.plist` under the home folder, that several of the product's
// programs read and write at the same time. These stand in for the Core Foundation calls of the same names,
// for this one domain.

/// Where the file lies.
[[nodiscard]] std::filesystem::path preferencesFolder();

/// The value under @p key, Null when there is none: a change made here and not yet synchronised, else what
/// the file says now (its identity is asked on every call). A file that is missing or unreadable counts as
/// one without keys.
[[nodiscard]] PropertyList CFPreferencesCopyAppValue(QStringView key);

/// Sets @p key to @p value, Null to remove it. Seen at once by this process, and by others after the next
/// CFPreferencesAppSynchronize().
void CFPreferencesSetAppValue(QStringView key, const PropertyList &value);

/// Writes the changes to the file, keeping every other key as it is in the file at that moment: two programs
/// that write different keys at once lose neither. Folders on the way are made. The file is written as XML,
/// mode 0600, atomically; a file that cannot be parsed is first set aside beside itself with ".damaged" at
/// its end of name. A symbolic link at its place is replaced.
/// @return false when the file could not be written; the changes then stay pending.
bool CFPreferencesAppSynchronize();

/// Takes back a change of @p key that has not been synchronised: what was to be written with the user looking
/// on, and could not be, is not to be written behind their back later. No operation of Core Foundation's.
void forgetUnsynchronizedValue(QStringView key);

} // namespace platform
