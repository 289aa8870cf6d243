#include "VORAChatLog.h"

#include "archiver/mboxmessage.h"

#include "platform/files/files.h"
#include "platform/text/encoding.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

// prattlebug_bench FOLDER [options of Google Benchmark]: every stage over every transcript in FOLDER.

namespace {

/// A transcript file, read and loaded once for all stages.
struct Chat {
    std::filesystem::path path;
    qint64 fileSize = 0;
    std::unique_ptr<VORAChatLog> log;
};

using Stage = void (*)(benchmark::State &, const Chat &);

void countMessages(benchmark::State &state, const Chat &chat)
{
    state.SetItemsProcessed(state.iterations() * int64_t(chat.log->messages().size()));
}

void load(benchmark::State &state, const Chat &chat)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(VORAChatLog::load(chat.path));
    }
    state.SetBytesProcessed(state.iterations() * chat.fileSize);
    countMessages(state, chat);
}

void plainChatLog(benchmark::State &state, const Chat &chat)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(chat.log->PlainChatLog());
    countMessages(state, chat);
}

void htmlChatLog(benchmark::State &state, const Chat &chat)
{
    qint64 written = 0;
    for (auto _ : state) {
        const QByteArray html = chat.log->HTMLChatLog();
        written += html.size();
    }
    state.SetBytesProcessed(written);
    countMessages(state, chat);
}

void mboxMessage(benchmark::State &state, const Chat &chat)
{
    const MboxMessage message{.address = QStringLiteral("sam@example.org"),
                              .subject = chat.log->subjectForEmail(),
                              .date = platform::NSDate::now(),
                              .plainText = platform::utf8FromString(chat.log->PlainChatLog()),
                              .html = chat.log->HTMLChatLog()};
    qint64 written = 0;
    for (auto _ : state) {
        const QByteArray bytes = mboxMessageBytes(message, 0);
        written += bytes.size();
    }
    state.SetBytesProcessed(written);
    countMessages(state, chat);
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    std::error_code error;
    const std::filesystem::directory_iterator folder(argc == 2 ? argv[1] : "", error);
    if (error) {
        std::fputs("Usage: prattlebug_bench FOLDER [options of Google Benchmark]\n", stderr);
        return 2;
    }
    // An address book of the user's own would be asked for every name.
    setenv("HOME", argv[1], 1); // NOLINT(concurrency-mt-unsafe): one thread

    std::vector<Chat> chats;
    for (const auto &entry : folder) {
        if (auto log = VORAChatLog::initWithFilePath(entry.path()))
            chats.push_back({entry.path(), qint64(entry.file_size()), std::move(log)});
    }
    for (const Chat &chat : chats) {
        for (const auto &[name, stage] : {std::pair<const char *, Stage>{"load", load},
                                          {"PlainChatLog", plainChatLog},
                                          {"HTMLChatLog", htmlChatLog},
                                          {"mbox message", mboxMessage}})
            benchmark::RegisterBenchmark(
                (std::string(name) + "/" + chat.path.filename().native()).c_str(),
                [stage = stage, &chat](benchmark::State &state) { stage(state, chat); })
                ->Unit(benchmark::kMillisecond);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
