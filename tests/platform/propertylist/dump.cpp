#include "dump.h"

#include "platform/formaterror.h"
#include "platform/text/encoding.h"

#include <cmath>

using platform::PropertyList;
using platform::PropertyListKind;

namespace {

std::string hexOf(const QByteArray &bytes)
{
    return bytes.toHex().toStdString();
}

std::string dumpOfString(const QString &text)
{
    return "s" + hexOf(platform::utf8FromString(text));
}

} // namespace

std::string dump(const PropertyList &value)
{
    if (const auto boolean = value.boolean())
        return *boolean ? "true" : "false";
    if (const auto integer = value.integer())
        return "i" + std::to_string(*integer);
    if (const auto uid = value.uid())
        return "u" + std::to_string(*uid);
    if (const auto real = value.real()) {
        const auto bits = std::bit_cast<quint64>(*real);
        return std::isnan(*real) ? "rnan"
                                 : "r" + QByteArray::number(bits, 16).rightJustified(16, '0').toStdString();
    }
    if (const auto date = value.date())
        return "d" + std::to_string(qint64(std::floor(date->timeIntervalSinceReferenceDate())));
    if (const auto data = value.data())
        return "b" + hexOf(*data);
    if (const auto text = value.string())
        return dumpOfString(*text);
    if (value.isNull())
        return "null";
    std::string contents;
    if (value.kind() == PropertyListKind::Array) {
        for (quint32 i = 0; i < value.count(); ++i)
            contents += dump(value.at(i)) + '\n';
        return '(' + contents + ')';
    }
    for (quint32 i = 0; i < value.count(); ++i)
        contents += dumpOfString(value.keyAt(i)) + '=' + dump(value.valueAt(i)) + '\n';
    return '{' + contents + '}';
}

std::string dumpOf(const QByteArray &bytes)
{
    try {
        return dump(platform::readPropertyList(bytes));
    } catch (const platform::FormatError &error) {
        return error.description();
    }
}

std::string faultOf(const QByteArray &bytes)
{
    try {
        (void)platform::readPropertyList(bytes);
        return {};
    } catch (const platform::FormatError &error) {
        return error.what();
    }
}
