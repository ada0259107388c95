#include "support/RecordingFrontend.h"

#include "link/Policies.h"
#include "link/ServerConfig.h"
#include "store/DVMessage.h"

#include <utility>

int RecordingFrontend::MessageBoxShow(const QString &text, const QString &caption, int icon, int buttons)
{
    questions.append({QStringLiteral("box"), text, caption, icon, buttons});
    if (const auto standing = std::exchange(whileBoxStands, nullptr))
        standing();
    return m_boxAnswers.isEmpty() ? ResultOk : m_boxAnswers.dequeue();
}

QString RecordingFrontend::nextText(const QString &kind, const QString &prompt, const QString &caption,
                                    int icon, int buttons)
{
    questions.append({kind, prompt, caption, icon, buttons});
    return m_textAnswers.isEmpty() ? QString() : m_textAnswers.dequeue();
}

QString RecordingFrontend::InputText(const QString &prompt, const QString &caption, int icon, int buttons,
                                     const QString &)
{
    return nextText(QStringLiteral("text"), prompt, caption, icon, buttons);
}

QString RecordingFrontend::InputPath(const QString &prompt, const QString &caption, int icon, int buttons,
                                     const QString &)
{
    return nextText(QStringLiteral("path"), prompt, caption, icon, buttons);
}

QString RecordingFrontend::InputPassword(const QString &prompt, const QString &caption, int icon, int buttons)
{
    return nextText(QStringLiteral("password"), prompt, caption, icon, buttons);
}

QString RecordingFrontend::InputChoice(const QString &prompt, const QString &caption, int icon,
                                       const QString &, const QString &)
{
    return nextText(QStringLiteral("choice"), prompt, caption, icon, ButtonsOkCancel);
}

void RecordingFrontend::SetTrayIcon(int image, const QString &tip)
{
    trayImage = image;
    trayTip = tip;
    events.append(QStringLiteral("tray %1 %2").arg(image).arg(tip));
}

void RecordingFrontend::RemoveTrayIcon()
{
    trayImage = -1;
    events.append(QStringLiteral("tray removed"));
}

void RecordingFrontend::MenuChanged(const ClientMenu &menu)
{
    lastMenu = menu;
}

void RecordingFrontend::ShowLog(const QString &logFileName)
{
    events.append(QStringLiteral("log ") + logFileName);
}

bool RecordingFrontend::OpenDocument(const QString &path)
{
    events.append(QStringLiteral("open ") + path);
    return true;
}

void RecordingFrontend::ShowPolicies(const QString &reference, const Policies &policies)
{
    events.append(QStringLiteral("policies ") + reference + QLatin1Char(' ') + policies.ToString());
}

void RecordingFrontend::ShowServerConfig(const ServerConfig &config)
{
    events.append(QStringLiteral("server config ") + config.ToString());
}

void RecordingFrontend::DisplayList(ListKind list, const QString &letter)
{
    events.append(QStringLiteral("display %1 %2").arg(int(list)).arg(letter));
}

void RecordingFrontend::AddMessageToDisplay(const DVMessage &msg)
{
    // The same id again goes to the end of the queue.
    onDisplay.removeAll(msg.MsgID);
    onDisplay.append(msg.MsgID);
    displayed.append(msg.MsgID);
}

void RecordingFrontend::DeleteMessageFromDisplay(const QString &msgID)
{
    onDisplay.removeAll(msgID);
    events.append(QStringLiteral("undisplay ") + msgID);
}

bool RecordingFrontend::IsOnDisplay(const QString &msgID) const
{
    return onDisplay.contains(msgID);
}

void RecordingFrontend::AddRecord(int list, const DVMessage &msg)
{
    events.append(QStringLiteral("add %1 %2").arg(list).arg(msg.MsgID));
}

void RecordingFrontend::DelRecord(int list, const QString &msgID)
{
    events.append(QStringLiteral("del %1 %2").arg(list).arg(msgID));
}

void RecordingFrontend::ShowReceiptPopup(const QString &text)
{
    popups.append(text);
    popupShown = true;
}

bool RecordingFrontend::ReceiptPopupShown() const
{
    return popupShown;
}
