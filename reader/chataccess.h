#pragma once

#include <QString>

class QAccessibleInterface;
class QObject;

namespace reader {

/// What screen readers see of a ChatView: a list of its messages, all of them, each with its text, who wrote
/// it and when. To be handed to QAccessible::installFactory().
/// @return null for other classes.
[[nodiscard]] QAccessibleInterface *chatAccess(const QString &className, QObject *object);

} // namespace reader
