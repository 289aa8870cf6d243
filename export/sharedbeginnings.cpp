#include "export/sharedbeginnings.h"

#include "export/mailidentity.h"

#include "VORAChatLog.h"

#include "conversation/conversation.h"
#include "index/workerprocesses.h"

#include "platform/files/files.h"

#include <QByteArrayList>

#include <algorithm>
#include <map>
#include <optional>

namespace exporting {

namespace {

/// Those that begin at the same moment as another one, one of both being exported.
std::vector<const Transcript *> suspects(const std::vector<Transcript> &exported,
                                         const std::vector<Transcript> &kept)
{
    std::map<std::optional<qint64>, std::map<std::string_view, const Transcript *>> byMoment;
    for (const Transcript &transcript : exported)
        byMoment[transcript.first].emplace(transcript.name, &transcript);
    for (const Transcript &transcript : kept) {
        if (const auto moment = byMoment.find(transcript.first); moment != byMoment.end())
            moment->second.emplace(transcript.name, &transcript);
    }
    std::vector<const Transcript *> result;
    for (const auto &[moment, transcripts] : byMoment) {
        for (const auto &[name, transcript] : transcripts) {
            if (transcripts.size() > 1)
                result.push_back(transcript);
        }
    }
    return result;
}

} // namespace

std::set<std::string> chatsThatBeginLikeLonger(const std::vector<Transcript> &exported,
                                               const std::vector<Transcript> &kept, unsigned workers,
                                               const std::function<bool(size_t, size_t)> &goesOn)
{
    struct Length {
        qsizetype messages;
        const Transcript *transcript;
    };
    const std::vector<const Transcript *> read = suspects(exported, kept);
    std::map<QByteArray, std::vector<Length>> byIdentity;
    indexing::runInWorkers(
        read.size(),
        [&](size_t job) -> QByteArray {
            const auto file = platform::readWholeFile(read[job]->path);
            const VORAChatLog::Loading loading =
                file ? VORAChatLog::loadBytes(*file, read[job]->fileName) : tl::unexpected(file.error());
            if (!loading)
                return {};
            const conversation::Conversation conversation = conversation::conversationOf(**loading);
            return mailIdentity(conversation) + ' ' + QByteArray::number(conversation.messages.size());
        },
        [&](size_t job, const indexing::JobResult &result) {
            const QByteArrayList words = result.bytes.value_or(QByteArray()).split(' ');
            if (words.size() == 2)
                byIdentity[words.front()].push_back({words.back().toLongLong(), read[job]});
            return goesOn(job + 1, read.size());
        },
        workers);

    std::set<std::string> shorter;
    for (const auto &[identity, chats] : byIdentity) {
        const auto longest =
            std::max_element(chats.begin(), chats.end(), [](const Length &a, const Length &b) {
                return std::pair(a.messages, std::string_view(b.transcript->name)) <
                       std::pair(b.messages, std::string_view(a.transcript->name));
            });
        for (auto chat = chats.begin(); chat != chats.end(); ++chat) {
            if (chat != longest)
                shorter.insert(chat->transcript->name);
        }
    }
    return shorter;
}

} // namespace exporting
