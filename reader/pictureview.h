#pragma once

#include "reader/pictures.h"

#include <QDialog>
#include <QImage>

namespace reader {

/// A picture in a window of its own, as large as that is, but not larger than it is itself.
class PictureView final : public QDialog {
    Q_OBJECT

public:
    /// @param chat with the file at @p file.
    PictureView(std::shared_ptr<const conversation::Conversation> chat, quint32 file, QWidget *parent);

Q_SIGNALS:
    void saveRequested();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Pictures m_pictures;
    quint32 m_file;
    QSize m_whole; ///< pixels
    QImage m_image;
};

} // namespace reader
