#include "reader/indexthread.h"

#include "platform/addressbook/addressbook.h"

#include <QMetaObject>

namespace reader {

IndexThread::IndexThread(const Collection &collection, QObject *parent)
    : QObject(parent), m_onThread(new QObject),
      m_index(std::make_shared<indexing::ChatIndex>(collection.folder, collection.index))
{
    m_onThread->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_onThread, &QObject::deleteLater);
    m_thread.start();
}

IndexThread::~IndexThread()
{
    m_thread.quit();
    m_thread.wait();
}

void IndexThread::reload()
{
    QMetaObject::invokeMethod(m_onThread, [this] {
        const platform::ABAddressBook::Reading oneReading;
        if (const auto failure = m_index->takeKept()) {
            Q_EMIT failed(QString::fromStdString(*failure));
            return;
        }
        Q_EMIT listed(
            std::make_shared<const Lists>(Lists{m_index->chats(), m_index->people(), m_index->unreadable()}));
    });
}

} // namespace reader
