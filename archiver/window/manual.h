#pragma once

#include <QDialog>

/// The manual, which is compiled into the program, in a window beside the archiver's: its pages link to one
/// another; what leads elsewhere is opened by the desktop.
class Manual final : public QDialog {
public:
    explicit Manual(QWidget *parent);
};
