#pragma once

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class SetupProcess;

/// Imports chats from a disk or folder: it is looked through first, then what was found, the address book
/// among it, is shown with the e-mail address; then everything is copied. Any program with windows can use
/// it.
///
/// It is modal. When it has closed, hasImported() tells whether there may be chats that were not there
/// before.
class ImportDialog final : public QDialog {
    Q_OBJECT

public:
    explicit ImportDialog(QWidget *parent = nullptr);

    [[nodiscard]] bool hasImported() const { return m_hasImported; }

    /// Stops what is under way, or else closes.
    void reject() override;

private:
    enum class Step { Choosing, Looking, Found, Importing, Imported };

    void layOut();
    void choose();
    void look();
    void import();
    void showEnd(bool succeeded);
    void showBook();
    void growToContents();
    void setStep(Step step);
    [[nodiscard]] QStringList arguments() const;

    Step m_step = Step::Choosing;
    bool m_hasImported = false;
    QString m_bookPath; ///< of an address book that there is a choice about
    SetupProcess *m_setup;
    QLineEdit *m_folder;
    QPushButton *m_browse;
    QLineEdit *m_email;
    QLabel *m_found;
    QLabel *m_book;
    QCheckBox *m_takeBook;
    QProgressBar *m_bar;
    QLabel *m_line;
    QPlainTextEdit *m_details;
    QPushButton *m_detailsButton;
    QPushButton *m_import;
    QPushButton *m_close;
};
