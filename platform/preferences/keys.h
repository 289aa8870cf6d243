#pragma once

#include <QStringView>

// The keys of the preferences domain, and what stands under them.

namespace platform::preference {

inline constexpr QStringView emailAddress = u"emailAddress"; ///< string: who the mails are from and to
inline constexpr QStringView forceUniqueSubjects =
    u"forceUniqueSubjects";                                    ///< boolean: put the time into subjects
inline constexpr QStringView subjectNumber = u"subjectNumber"; ///< integer: how many such were made
inline constexpr QStringView errorStatus = u"errorStatus";     ///< integer: code of the latest failure
inline constexpr QStringView reportThis = u"reportThis";       ///< string: text of the latest failure
inline constexpr QStringView emailFails = u"emailFails";       ///< integer: failures since it was cleared
inline constexpr QStringView emailNeedsUsername = u"emailNeedsUsername"; ///< integer: not 0 to log in
inline constexpr QStringView emailUsername = u"emailUsername";           ///< string
inline constexpr QStringView emailPassword = u"emailPassword";           ///< string
inline constexpr QStringView imageEntry = u"imageEntry";                 ///< string: format of the image log
inline constexpr QStringView bookmarkEntry = u"bookmarkEntry"; ///< string: format of the bookmark log

} // namespace platform::preference
