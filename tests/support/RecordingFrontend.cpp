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

void RecordingFrontend::ShowPolicies(const QString &reference, const Policies &policies)
{
    events.append(QStringLiteral("policies ") + reference + QLatin1Char(' ') + policies.ToString());
}

void RecordingFrontend::ShowServerConfig(const ServerConfig &config)
{
    events.append(QStringLiteral("server config ") + config.ToString());
}

void RecordingFrontend::EditMessageForm(const DVMessage &msg, int action)
{
    events.append(QStringLiteral("edit %1 %2").arg(msg.MsgID).arg(action));
}

void RecordingFrontend::AddMessageToDisplay(const DVMessage &msg)
{
    // The same id again goes to the end of the queue.
    onDisplay.removeAll(msg.MsgID);
    onDisplay.append(msg.MsgID);
    displayed.append(msg.MsgID);
}

void RecordingFrontend::AddRecord(int list, const DVMessage &msg)
{
    events.append(QStringLiteral("add %1 %2").arg(list).arg(msg.MsgID));
}
