#pragma once

#include "core/ClientMenu.h"
#include "core/Frontend.h"

#include <QCoreApplication>
#include <QList>
#include <QQueue>
#include <QStringList>

#include <functional>

// Answers the engine's questions from a script and records everything it was
// asked or told. Installed while it lives.
class RecordingFrontend final : public Frontend
{
public:
    struct Question
    {
        QString kind; // "box", "text", "path", "password", "choice"
        QString text;
        QString caption;
        int icon = 0;
        int buttons = 0;
    };

    RecordingFrontend() { Frontend::install(this); }
    ~RecordingFrontend() override { Frontend::install(nullptr); }
    RecordingFrontend(const RecordingFrontend &) = delete;
    RecordingFrontend &operator=(const RecordingFrontend &) = delete;

    // Next answers, in order; a box without a scripted answer gets OK, an input
    // the empty text.
    void answerBox(int result) { m_boxAnswers.enqueue(result); }
    void answerText(const QString &text) { m_textAnswers.enqueue(text); }
    // The captions of the boxes put up so far.
    QStringList captions() const
    {
        QStringList shown;
        for (const Question &question : questions)
            shown << question.caption;
        return shown;
    }

    int MessageBoxShow(const QString &text, const QString &caption, int icon, int buttons) override;
    QString InputText(const QString &prompt, const QString &caption, int icon, int buttons,
                      const QString &) override
    {
        return nextText(QStringLiteral("text"), prompt, caption, icon, buttons);
    }
    QString InputPath(const QString &prompt, const QString &caption, int icon, int buttons,
                      const QString &) override
    {
        return nextText(QStringLiteral("path"), prompt, caption, icon, buttons);
    }
    QString InputPassword(const QString &prompt, const QString &caption, int icon, int buttons) override
    {
        return nextText(QStringLiteral("password"), prompt, caption, icon, buttons);
    }
    QString InputChoice(const QString &prompt, const QString &caption, int icon, const QString &,
                        const QString &) override
    {
        return nextText(QStringLiteral("choice"), prompt, caption, icon, ButtonsOkCancel);
    }
    void SetTrayIcon(int image, const QString &tip) override
    {
        trayImage = image;
        events.append(QStringLiteral("tray %1 %2").arg(image).arg(tip));
    }
    void RemoveTrayIcon() override
    {
        trayImage = -1;
        events.append(QStringLiteral("tray removed"));
    }
    void MenuChanged(const ClientMenu &menu) override { lastMenu = menu; }
    void ShowLog(const QString &logFileName) override { events.append(QStringLiteral("log ") + logFileName); }
    void ShowAbout(const AboutFacts &facts) override
    {
        events.append(QStringLiteral("about %1 %2").arg(facts.version, facts.connection));
    }
    bool OpenDocument(const QString &path) override
    {
        events.append(QStringLiteral("open ") + path);
        return true;
    }
    void ShowClientConfig() override { events.append(QStringLiteral("options")); }
    void ShowLevelEditor() override { events.append(QStringLiteral("levels")); }
    void ShowPolicies(const QString &reference, const Policies &policies) override;
    void ShowServerConfig(const ServerConfig &config) override;
    void DisplayList(ListKind list, const QString &letter) override
    {
        events.append(QStringLiteral("display %1 %2").arg(int(list)).arg(letter));
    }
    void OpenMessageForm(int action, const QString &msgID, const QString &target) override
    {
        events.append(QStringLiteral("compose %1 %2 %3").arg(action).arg(msgID, target));
    }
    void DuplicateMessageForm(int action, bool temporaryStore, const QString &table, const QString &oldID,
                              const QString &newID) override
    {
        events.append(QStringLiteral("duplicate %1 %2 %3 %4 %5")
                          .arg(action)
                          .arg(temporaryStore ? QStringLiteral("temp") : QStringLiteral("client"), table,
                               oldID, newID));
    }
    void OpenPackageForm(const QString &msgID, const QString &target) override
    {
        events.append(QStringLiteral("package %1 %2").arg(msgID, target));
    }
    void DuplicatePackageForm(const QString &oldID, const QString &newID, bool copy) override
    {
        events.append(QStringLiteral("package copy %1 %2 %3").arg(oldID, newID).arg(copy));
    }
    void ShowConsole() override { events.append(QStringLiteral("console")); }
    void EditMessageForm(const DVMessage &msg, int action) override;
    bool EditGroupForm(int action, const QString &name, const QString &description,
                       const QString &members) override
    {
        events.append(QStringLiteral("group %1 %2 %3 %4").arg(action).arg(name, description, members));
        standAsModal();
        return false; // as if Cancel was pressed
    }
    bool EditRoleForm(const QString &userID, int authority) override
    {
        events.append(QStringLiteral("role %1 %2").arg(userID).arg(authority));
        standAsModal();
        return false; // as if Cancel was pressed
    }
    void OpenReplyForm(const QString &newID, bool toAll) override
    {
        events.append(QStringLiteral("reply %1 %2").arg(newID).arg(toAll));
    }
    void AddMessageToDisplay(const DVMessage &msg) override;
    void DeleteMessageFromDisplay(const QString &msgID) override
    {
        onDisplay.removeAll(msgID);
        events.append(QStringLiteral("undisplay ") + msgID);
    }
    bool IsOnDisplay(const QString &msgID) const override { return onDisplay.contains(msgID); }
    void AddRecord(int list, const DVMessage &msg) override;
    void DelRecord(int list, const QString &msgID) override
    {
        events.append(QStringLiteral("del %1 %2").arg(list).arg(msgID));
    }
    void RecordChanged(const QString &msgID) override { changed.append(msgID); }
    void ShowReceiptPopup(const QString &text) override
    {
        popups.append(text);
        popupShown = true;
    }
    bool ReceiptPopupShown() const override { return popupShown; }

    // Runs once, inside the next box, where a modal box would pump events.
    std::function<void()> whileBoxStands;

    QList<Question> questions;
    // The banner's queue as the engine left it, in order of arrival.
    QStringList onDisplay;
    // Every message handed to the banner, in order.
    QStringList displayed;
    // The texts the receipt popup showed, and whether it stands now.
    QStringList popups;
    bool popupShown = false;
    QStringList events;
    // The IDs of stored rows the open list was told to read anew.
    QStringList changed;
    ClientMenu lastMenu;
    int trayImage = -1;

private:
    // A modal editor runs its own loop while it stands: what was posted meanwhile runs inside it.
    static void standAsModal() { QCoreApplication::processEvents(); }
    QString nextText(const QString &kind, const QString &prompt, const QString &caption, int icon,
                     int buttons);

    QQueue<int> m_boxAnswers;
    QQueue<QString> m_textAnswers;
};
