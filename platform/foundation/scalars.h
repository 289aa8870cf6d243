#pragma once

#include "platform/formaterror.h"
#include "platform/foundation/nsobject.h"

#include <QByteArray>
#include <QString>

#include <utility>
#include <variant>

namespace platform {

/// Text. Two equal strings may be two objects, and an archive's links are told apart that way.
class NSString final : public NSObject {
public:
    explicit NSString(QString string) : m_string(std::move(string)) {}

    [[nodiscard]] const QString &string() const { return m_string; }
    [[nodiscard]] QString className() const override { return QStringLiteral("NSString"); }
    [[nodiscard]] QString description() const override { return m_string; }

private:
    QString m_string;
};

/// A number: a boolean, an integer of 64 bits (an unsigned one above that range is held at its upper end) or
/// a real.
class NSNumber final : public NSObject {
public:
    using Value = std::variant<bool, qint64, double>;

    explicit NSNumber(Value value) : m_value(value) {}

    [[nodiscard]] const Value &value() const { return m_value; }
    [[nodiscard]] QString className() const override { return QStringLiteral("NSNumber"); }
    /// 0 or 1 for a boolean; the shortest decimal that reads back to the same number otherwise.
    [[nodiscard]] QString description() const override;

private:
    Value m_value;
};

/// Bytes.
class NSData final : public NSObject {
public:
    explicit NSData(QByteArray bytes) : m_bytes(std::move(bytes)) {}

    [[nodiscard]] const QByteArray &bytes() const { return m_bytes; }
    [[nodiscard]] QString className() const override { return QStringLiteral("NSData"); }
    /// Its hexadecimal digits between angle brackets.
    [[nodiscard]] QString description() const override;

private:
    QByteArray m_bytes;
};

/// A URL as it was given: a string, and perhaps another URL that the string is relative to.
///
/// It is resolved once, when it is made: many runs of a text may carry one URL, and its base may be very
/// long.
class NSURL final : public NSObject {
public:
    explicit NSURL(QString string, std::shared_ptr<const NSURL> base = nullptr);

    /// The string as given, not resolved.
    [[nodiscard]] const QString &relativeString() const { return m_string; }
    /// What the string is relative to, or null.
    [[nodiscard]] const std::shared_ptr<const NSURL> &baseURL() const { return m_base; }
    /// The string resolved against the base (RFC 3986, section 5.2); without a base the string itself,
    /// unchanged.
    [[nodiscard]] const QString &absoluteString() const { return m_absolute; }
    [[nodiscard]] QString className() const override { return QStringLiteral("NSURL"); }
    [[nodiscard]] QString description() const override { return m_absolute; }

private:
    QString m_string;
    std::shared_ptr<const NSURL> m_base;
    QString m_absolute;
};

/// The place-holder for an object of a class that nobody here knows: its class, nothing of its contents.
class UnknownObject final : public NSObject {
public:
    explicit UnknownObject(QString archivedClassName) : m_className(std::move(archivedClassName)) {}

    [[nodiscard]] QString className() const override { return m_className; }

private:
    QString m_className;
};

/// The place-holder for an object whose contents are not laid out as those of its class are, so that nothing
/// of it could be read: its class as archived, and what is wrong.
class UnreadableObject final : public NSObject {
public:
    UnreadableObject(QString archivedClassName, LayoutFault fault)
        : m_className(std::move(archivedClassName)), m_fault(fault)
    {
    }

    [[nodiscard]] const LayoutFault &fault() const { return m_fault; }
    [[nodiscard]] QString className() const override { return m_className; }

private:
    QString m_className;
    LayoutFault m_fault;
};

} // namespace platform
