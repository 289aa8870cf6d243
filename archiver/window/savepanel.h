#pragma once

#include "archiver/desktopinterface.h"

#include <QDialog>

#include <filesystem>
#include <optional>
#include <vector>

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;

/// The panel that asks for the folder to make: a message, the name, and the folder that it goes into, which
/// the user can change.
///
/// A name that stands there already is taken as it is: for the folder of an earlier run that is what the user
/// means. (Qt's own file dialog would enter it instead, and has no place for the message.) The panel tells
/// what the choice will do, and takes none where no archive can be made. Folders are kept by the bytes of
/// their names, so that one whose name is no text can be chosen like any other.
class SavePanel final : public QDialog {
public:
    SavePanel(const DesktopInterface::SavePanel &panel, QWidget *parent);

    /// What has been chosen: the name in the folder shown. The user may also type a path instead of a name;
    /// a relative one starts in that folder, "~" is the home folder. Nothing when no name is entered.
    [[nodiscard]] std::optional<std::filesystem::path> path() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void layOut(const QString &message);
    void enterFolder(const std::filesystem::path &folder);
    void enterParent();
    void enterListed(const QListWidgetItem *item);
    void describeChoice();
    /// @p text, cut in its middle where it is longer than a line: a name may have no place for a line break.
    [[nodiscard]] QString shortened(const QString &text) const;

    std::filesystem::path m_folder;
    std::vector<std::filesystem::path> m_listed; ///< the folder's folders, one per row
    std::vector<std::filesystem::path>
        m_ancestors; ///< the folder and those above it, one per entry of the menu
    QLineEdit *m_name;
    QComboBox *m_where;
    QListWidget *m_list;
    QLabel *m_consequence;
    QPushButton *m_save;
};
