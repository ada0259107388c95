#include "support/RecordingFrontend.h"

#include "link/Policies.h"
#include "link/ServerConfig.h"

int RecordingFrontend::MessageBoxShow(const QString &text, const QString &caption, int icon, int buttons)
{
    questions.append({QStringLiteral("box"), text, caption, icon, buttons});
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
