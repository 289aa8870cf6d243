#include "export/htmlmarkup.h"

#include <QCryptographicHash>
#include <QFile>

namespace exporting {

namespace {

/// How a policy names a style sheet or a script of the page itself (W3C Content Security Policy Level 3,
/// 2.3.1).
QByteArray policySource(const QByteArray &text)
{
    return "'sha256-" + QCryptographicHash::hash(text, QCryptographicHash::Sha256).toBase64() + '\'';
}

} // namespace

void addEscaped(Output &output, QStringView text)
{
    qsizetype plain = 0; // from here on nothing was to be escaped
    const auto replace = [&](qsizetype position, QByteArrayView with) {
        output << text.sliced(plain, position - plain) << with;
        plain = position + 1;
    };
    for (qsizetype position = 0; position < text.size(); ++position) {
        const char16_t unit = text[position].unicode();
        constexpr char16_t firstPrintable = 0x20;
        constexpr char16_t firstHighControl = 0x7F;
        constexpr char16_t lastHighControl = 0x9F;
        switch (unit) {
        case u'&': replace(position, "&amp;"); break;
        case u'<': replace(position, "&lt;"); break;
        case u'>': replace(position, "&gt;"); break;
        case u'"': replace(position, "&quot;"); break;
        case u'\r':
            replace(position, position + 1 < text.size() && text[position + 1] == u'\n' ? "" : "\n");
            break;
        default:
            if ((unit < firstPrintable && unit != u'\n' && unit != u'\t') ||
                (unit >= firstHighControl && unit <= lastHighControl))
                replace(position, "\xEF\xBF\xBD");
        }
    }
    output << text.sliced(plain);
}

void addPageHead(Output &output, QStringView title, const QByteArray &style, const QByteArray &script,
                 bool mayHaveFiles)
{
    output << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
              "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:"
           << (mayHaveFiles ? " 'self' file:" : "") << "; style-src " << policySource(style);
    if (!script.isEmpty())
        output << "; script-src " << policySource(script);
    output << "; base-uri 'none'; form-action 'none'\">\n"
              "<meta name=\"referrer\" content=\"no-referrer\">\n"
              "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
              "<meta name=\"color-scheme\" content=\"light dark\">\n<title>";
    addEscaped(output, title);
    output << "</title>\n<style>" << style << "</style>\n</head>\n<body>\n";
}

QByteArray pageResource(const char *name)
{
    QFile file(QStringLiteral(":/export/") + QLatin1String(name));
    static_cast<void>(file.open(QIODevice::ReadOnly)); // it is part of the program
    return file.readAll();
}

} // namespace exporting
