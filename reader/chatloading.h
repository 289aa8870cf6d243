#pragma once

#include "reader/helperprocess.h"

#include "conversation/conversation.h"

#include <QObject>

#include <filesystem>
#include <memory>

namespace reader {

/// Loads one chat after the other in a process of its own, which decodes the transcript and looks up the
/// names.
class ChatLoading final : public QObject {
    Q_OBJECT

public:
    explicit ChatLoading(QObject *parent);

    /// loaded() or failed() follows, unless another chat is asked for before.
    void load(const std::filesystem::path &path);

Q_SIGNALS:
    void loaded(const std::shared_ptr<const conversation::Conversation> &chat);
    /// @param reason for people.
    void failed(const QString &reason);

private:
    void take(const QByteArray &answer);

    HelperProcess m_process;
    int m_asked = 0; ///< how many chats so far
};

} // namespace reader
