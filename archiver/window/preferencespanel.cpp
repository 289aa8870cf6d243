#include "archiver/window/preferencespanel.h"

#include "platform/mail/mailaddress.h"

#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/propertylist/values.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include <utility>
#include <vector>

using platform::PropertyList;

namespace {

constexpr QStringView addressKey = platform::preference::emailAddress;
constexpr QStringView uniqueSubjectsKey = platform::preference::forceUniqueSubjects;
constexpr QStringView needsLoginKey = platform::preference::emailNeedsUsername;
constexpr QStringView userNameKey = platform::preference::emailUsername;
constexpr QStringView passwordKey = platform::preference::emailPassword;

QString storedText(QStringView key)
{
    return platform::CFPreferencesCopyAppValue(key).string().value_or(QString());
}

bool storedTruth(QStringView key)
{
    return platform::booleanFrom(platform::CFPreferencesCopyAppValue(key)).value_or(false);
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
    m_uniqueSubjects->setToolTip(
        tr("Adds the time of archiving, for mail programs that take messages of one "
           "subject for a conversation. Each subject is counted on the disk: archiving "
           "ten thousand chats takes about a minute longer."));
    m_login->setCheckable(true);
    m_login->setChecked(
        platform::integerFrom(platform::CFPreferencesCopyAppValue(needsLoginKey)).value_or(0) != 0);
    m_password->setEchoMode(QLineEdit::Password);
    layOut();
    connect(m_address, &QLineEdit::textChanged, this, &PreferencesPanel::judgeAddress);
    judgeAddress();
    m_shown = entries();
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
    const bool isRight = address.isEmpty() || platform::isBareAddress(address);
    m_judgement->setText(!isRight            ? tr("This is no mail address.")
                         : address.isEmpty() ? tr("Without one, the messages are from nobody.")
                                             : tr("Every message is from this address, and to it."));
    m_save->setEnabled(isRight);
}

PreferencesPanel::Entries PreferencesPanel::entries() const
{
    return {m_address->text().trimmed(), m_userName->text(), m_password->text(),
            m_uniqueSubjects->isChecked(), m_login->isChecked()};
}

void PreferencesPanel::accept()
{
    const Entries entered = entries();
    std::vector<std::pair<QStringView, PropertyList>> changes;
    const auto compareTexts = [&changes](QStringView key, const QString &shown, const QString &text) {
        if (text != shown)
            changes.emplace_back(key, text.isEmpty() ? PropertyList() : PropertyList::fromString(text));
    };
    compareTexts(addressKey, m_shown.address, entered.address);
    compareTexts(userNameKey, m_shown.userName, entered.userName);
    compareTexts(passwordKey, m_shown.password, entered.password);
    if (entered.hasUniqueSubjects != m_shown.hasUniqueSubjects)
        changes.emplace_back(uniqueSubjectsKey, PropertyList::fromBoolean(entered.hasUniqueSubjects));
    if (entered.needsLogin != m_shown.needsLogin)
        changes.emplace_back(needsLoginKey, PropertyList::fromInteger(entered.needsLogin ? 1 : 0));

    for (const auto &[key, value] : changes)
        platform::CFPreferencesSetAppValue(key, value);
    if (platform::CFPreferencesAppSynchronize()) {
        QDialog::accept();
        return;
    }
    for (const auto &[key, value] : changes)
        platform::forgetUnsynchronizedValue(key);
    QMessageBox::warning(this, windowTitle(), tr("The preferences could not be written."));
}
