#include "reader/chatloading.h"

#include "reader/helperwork.h"

#include "platform/text/encoding.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThreadPool>

namespace reader {

ChatLoading::ChatLoading(QObject *parent) : QObject(parent), m_process(QLatin1String(chatsWork), this)
{
    connect(&m_process, &HelperProcess::answered, this, &ChatLoading::take);
    connect(&m_process, &HelperProcess::failed, this, &ChatLoading::failed);
}

void ChatLoading::load(const std::filesystem::path &path)
{
    ++m_asked;
    constexpr int withoutEnd = 0; // a large chat may take its time, and the window goes on
    m_process.ask(QByteArray::fromStdString(path.native()), withoutEnd);
}

void ChatLoading::take(const QByteArray &answer)
{
    if (!answer.startsWith('c')) {
        Q_EMIT failed(platform::stringFromUtf8(QByteArrayView(answer).sliced(1)));
        return;
    }
    // A large one takes some time here too. It is nothing but values, so it may be made anywhere.
    const QPointer<ChatLoading> self(this);
    QThreadPool::globalInstance()->start([self, answer, number = m_asked] {
        auto chat = std::make_shared<const conversation::Conversation>(conversation::conversationFrom(
            QByteArray::fromRawData(answer.constData() + 1, answer.size() - 1)));
        QMetaObject::invokeMethod(qApp, [self, chat = std::move(chat), number] {
            if (self && number == self->m_asked)
                Q_EMIT self->loaded(chat);
        });
    });
}

} // namespace reader
