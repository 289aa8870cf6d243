#pragma once

#include <QString>

#include <memory>

namespace platform {

/// What every object that an archive can hold derives from.
///
/// Decoded objects are immutable and shared: an archive may name one object from many places, and "the same
/// object" is a question of address (two equal strings may be two objects).
class NSObject {
public:
    virtual ~NSObject() = default;

    /// The object's class under the platform's name, such as "NSString"; for an object of a class that nobody
    /// here knows, the name in the archive.
    [[nodiscard]] virtual QString className() const = 0;

    /// The object as text for diagnostics: `<className>` unless the class has a text form of its own.
    [[nodiscard]] virtual QString description() const { return u'<' + className() + u'>'; }

protected:
    NSObject() = default;
    NSObject(const NSObject &) = default;
    NSObject(NSObject &&) = default;
    NSObject &operator=(const NSObject &) = default;
    NSObject &operator=(NSObject &&) = default;
};

/// A decoded object, or null for nil.
using ObjectRef = std::shared_ptr<const NSObject>;

} // namespace platform
