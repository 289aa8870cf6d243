#pragma once

#include <QDialog>
#include <QString>

class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;

/// The panel for the preferences that archiving and mail read, in the domain that the product's programs
/// share: `emailAddress`, `forceUniqueSubjects`, and the login at the mail server (`emailNeedsUsername`,
/// `emailUsername`, `emailPassword`).
///
/// Shows what is stored when it is made. Save writes at once what the user has changed, and nothing else:
/// whatever another program has changed meanwhile stays.
class PreferencesPanel final : public QDialog {
public:
    explicit PreferencesPanel(QWidget *parent);

    /// Stores what was changed, and closes the panel; where that fails, says so and stays open. What could
    /// not be stored then is not stored later either, unless by another Save.
    void accept() override;

private:
    /// What the fields say.
    struct Entries {
        QString address;
        QString userName;
        QString password;
        bool hasUniqueSubjects = false;
        bool needsLogin = false;
    };

    void layOut();
    void judgeAddress();
    [[nodiscard]] Entries entries() const;

    QLineEdit *m_address;
    QLabel *m_judgement;
    QCheckBox *m_uniqueSubjects;
    QGroupBox *m_login;
    QLineEdit *m_userName;
    QLineEdit *m_password;
    QPushButton *m_save;
    Entries m_shown; ///< what they said at first
};
