#include "archiver/window/preferencespanel.h"

#include "archiver/mailaddress.h"

#include "platform/preferences/preferences.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

using platform::PropertyList;

namespace {

constexpr QStringView addressKey = u"emailAddress";
constexpr QStringView uniqueSubjectsKey = u"forceUniqueSubjects";
constexpr QStringView needsLoginKey = u"emailNeedsUsername";
constexpr QStringView userNameKey = u"emailUsername";
constexpr QStringView passwordKey = u"emailPassword";

QString storedText(QStringView key)
{
    return platform::CFPreferencesCopyAppValue(key).string().value_or(QString());
}

bool storedTruth(QStringView key)
{
    return platform::booleanFromPreference(platform::CFPreferencesCopyAppValue(key)).value_or(false);
}

/// A field of its own object name, for tests and for accessibility tools.
template <class Widget>
Widget *named(Widget *widget, const char *name)
{
    widget->setObjectName(QLatin1String(name));
    return widget;
}

} // namespace

PreferencesPanel::PreferencesPanel(QWidget *parent)
    : QDialog(parent), m_address(named(new QLineEdit(storedText(addressKey)), "address")),
      m_judgement(named(new QLabel, "judgement")),
      m_uniqueSubjects(
          named(new QCheckBox(tr("&Make the subject of every message unique")), "uniqueSubjects")),
      m_login(named(new QGroupBox(tr("The mail &server wants a login")), "login")),
      m_userName(named(new QLineEdit(storedText(userNameKey)), "userName")),
      m_password(named(new QLineEdit(storedText(passwordKey)), "password")), m_save(nullptr)
{
    setWindowTitle(tr("Preferences"));
    m_address->setPlaceholderText(tr("kim@example.org"));
    m_uniqueSubjects->setChecked(storedTruth(uniqueSubjectsKey));
    m_uniqueSubjects->setToolTip(tr("Adds the time of archiving, for mail programs that take messages of one "
                                    "subject for a conversation."));
    m_login->setCheckable(true);
    m_login->setChecked(
        platform::integerFromPreference(platform::CFPreferencesCopyAppValue(needsLoginKey)).value_or(0) != 0);
    m_password->setEchoMode(QLineEdit::Password);
    layOut();
    connect(m_address, &QLineEdit::textChanged, this, &PreferencesPanel::judgeAddress);
    judgeAddress();
}

void PreferencesPanel::layOut()
{
    auto *mail = new QFormLayout;
    mail->addRow(tr("Your mail &address:"), m_address);
    mail->addRow(QString(), m_judgement);
    mail->addRow(QString(), m_uniqueSubjects);

    auto *login = new QFormLayout(m_login);
    login->addRow(tr("&User name:"), m_userName);
    login->addRow(tr("&Password:"), m_password);

    auto *buttons = new QDialogButtonBox;
    buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    m_save = buttons->addButton(tr("Save"), QDialogButtonBox::AcceptRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &PreferencesPanel::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &PreferencesPanel::reject);

    auto *column = new QVBoxLayout(this);
    column->addLayout(mail);
    column->addWidget(m_login);
    column->addStretch();
    column->addWidget(buttons);
    constexpr int characters = 60;
    setMinimumWidth(characters * fontMetrics().averageCharWidth());
}

void PreferencesPanel::judgeAddress()
{
    const QString address = m_address->text().trimmed();
    const bool isRight = address.isEmpty() || isBareAddress(address);
    m_judgement->setText(!isRight            ? tr("This is no mail address.")
                         : address.isEmpty() ? tr("Without one, the messages are from nobody.")
                                             : tr("Every message is from this address, and to it."));
    m_save->setEnabled(isRight);
}

void PreferencesPanel::accept()
{
    const auto storeText = [](QStringView key, const QString &text) {
        if (text != storedText(key))
            platform::CFPreferencesSetAppValue(key, text.isEmpty() ? PropertyList()
                                                                   : PropertyList::fromString(text));
    };
    storeText(addressKey, m_address->text().trimmed());
    storeText(userNameKey, m_userName->text());
    storeText(passwordKey, m_password->text());
    if (m_uniqueSubjects->isChecked() != storedTruth(uniqueSubjectsKey))
        platform::CFPreferencesSetAppValue(uniqueSubjectsKey,
                                           PropertyList::fromBoolean(m_uniqueSubjects->isChecked()));
    const bool neededLogin =
        platform::integerFromPreference(platform::CFPreferencesCopyAppValue(needsLoginKey)).value_or(0) != 0;
    if (m_login->isChecked() != neededLogin)
        platform::CFPreferencesSetAppValue(needsLoginKey,
                                           PropertyList::fromInteger(m_login->isChecked() ? 1 : 0));
    if (platform::CFPreferencesAppSynchronize()) {
        QDialog::accept();
        return;
    }
    QMessageBox::warning(this, windowTitle(), tr("The preferences could not be written."));
}
