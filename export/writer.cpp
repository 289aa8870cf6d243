#include "export/document.h"

namespace exporting {

std::unique_ptr<const Writer> writerFor(const Options &options)
{
    switch (options.format) {
    case Format::Text: return textWriter();
    case Format::Markdown: return markdownWriter();
    case Format::Json:
    case Format::JsonLines: return jsonWriter(options);
    case Format::Csv: return csvWriter();
    case Format::Eml:
    case Format::Maildir: return mailWriter(options);
    case Format::Html: break;
    }
    return htmlWriter(options);
}

} // namespace exporting
