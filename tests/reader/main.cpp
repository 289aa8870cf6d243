#include "reader/helperwork.h"

#include <QApplication>

#include <gmock/gmock.h>

int main(int argc, char **argv)
{
    if (const auto exitCode =
            reader::workForTheWindow(argc, argv)) // the window's processes are this program too
        return *exitCode;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleMock(&argc, argv);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
