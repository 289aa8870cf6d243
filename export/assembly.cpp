#include "export/assembly.h"

#include "platform/files/files.h"
#include "platform/text/encoding.h"

#include <algorithm>
#include <limits>

namespace exporting {

namespace {

void add(Summary &whole, const Summary &chat)
{
    for (const QString &person : chat.people) {
        if (std::find(whole.people.begin(), whole.people.end(), person) == whole.people.end())
            whole.people.push_back(person);
    }
    if (chat.first)
        whole.first = std::min(whole.first.value_or(*chat.first), *chat.first);
    if (chat.last)
        whole.last = std::max(whole.last.value_or(*chat.last), *chat.last);
    whole.chats += chat.chats;
    whole.messages += chat.messages;
    whole.files += chat.files;
}

} // namespace

platform::Failure failureOf(const std::filesystem::path &path, const std::string &reason)
{
    return {platform::FailureKind::System, path, reason};
}

void Assembly::take(const Part &part, ChatReport &report)
{
    const PlannedDocument &document = part.document;
    if (part.chat == 0) {
        m_growing.reset();
        m_made = {};
        m_made.path = document.path;
        m_made.madeWith = part.madeWith;
        m_hasChanged = false;
        m_isHalf = false;
    }
    const std::string reason = platform::utf8FromString(report.reason).toStdString();
    for (const ChatReport::File &file : report.beside)
        m_made.beside[file.path] = file.digest;
    switch (report.result) {
    case ChatReport::Done: takeDone(part, report); break;
    case ChatReport::Unreadable: m_outcome.unreadable.push_back(failureOf(part.transcript, reason)); break;
    case ChatReport::NotWritten: m_outcome.notWritten.push_back(failureOf(part.transcript, reason)); break;
    case ChatReport::Full:
        m_isHalf = true;
        m_outcome.failure = failureOf({}, reason);
        break;
    default: m_isHalf = true; // stopped
    }
    if (part.chat + 1 == document.chats.size())
        finishDocument(document);
}

void Assembly::takeDone(const Part &part, ChatReport &report)
{
    const PlannedDocument &document = part.document;
    m_outcome.unreadableMessages += report.unreadableMessages;
    m_outcome.filesLeftOut += report.filesLeftOut;
    m_made.sources.push_back({part.transcript, report.digest});
    m_hasChanged = m_hasChanged || report.isWritten;
    if (document.title.isEmpty()) {
        m_made.summary = std::move(report.summary);
        m_made.digest = report.documentDigest;
        return;
    }
    if (m_isHalf)
        return;
    Output before(std::numeric_limits<qsizetype>::max());
    if (!m_growing) {
        m_growing = std::make_unique<GrowingFile>(m_files, document.path);
        m_made.summary.title = document.title;
        m_writer.begin(before, document.title);
    } else {
        before << m_writer.separator();
    }
    m_growing->append(before.bytes());
    m_growing->append(report.part);
    add(m_made.summary, report.summary);
}

void Assembly::finishDocument(const PlannedDocument &document)
{
    if (m_growing && !m_isHalf) {
        Output end(std::numeric_limits<qsizetype>::max());
        m_writer.end(end);
        m_growing->append(end.bytes());
        const OwnFiles::Result result = m_growing->finish();
        m_made.digest = result.digest;
        m_hasChanged = m_hasChanged || result.isWritten;
        if (result.isFull)
            m_outcome.failure = failureOf(platform::pathFromString(document.path), *result.failure);
        else if (result.failure)
            m_outcome.notWritten.push_back(
                failureOf(platform::pathFromString(document.path), *result.failure));
        m_isHalf = result.failure.has_value();
    }
    m_growing.reset();
    if (m_isHalf || m_made.sources.empty()) {
        keepFilesBeside(document);
        return;
    }
    ++(m_hasChanged ? m_outcome.written : m_outcome.unchanged);
    WrittenDocument &known = m_ledger.documents[document.key];
    std::swap(known, m_made);
    for (const auto &[path, digest] : m_made.beside) { // of the document before
        if (!known.beside.contains(path))
            m_orphans.insert(path);
    }
}

void Assembly::keepFilesBeside(const PlannedDocument &document)
{
    if (m_made.beside.empty())
        return;
    WrittenDocument &known = m_ledger.documents[document.key];
    if (known.path.isEmpty())
        known.path = document.path;
    known.madeWith.clear();
    known.beside.merge(m_made.beside);
}

} // namespace exporting
