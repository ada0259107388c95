#pragma once

#include <QList>
#include <QRect>
#include <QString>

#include <functional>

class Policies;
class UserInfos;
class UserStore;
struct ProcessState;
struct Session;

// The logic of the console's frame: which side-bar items a role sees, which
// list a click shows or asks the server for, whether a late answer may still
// show its list, and the window's size and place kept in twips. The widgets
// only show what this decides.
class ConsoleFrame
{
public:
    struct Item
    {
        int list;      // the number CurrentList takes
        QString key;   // the link key, "btnInbox"
        QString group; // "grMessages"
        int text;      // the caption's number in the string table
        QString trace; // the word of its click's trace line
    };
    // The fourteen items in side-bar order.
    static const QList<Item> &Items();
    // The four groups in order, each with its caption's number.
    static const QList<std::pair<QString, int>> &Groups();
    // The number of the caption a list has in the side bar, 0 for a list it has not.
    static int CaptionOf(int list);

    // What a click asks of the window.
    struct Step
    {
        int show = 0;          // the list to put in the pane now, 0 for none
        bool progress = false; // the busy window while a request is out
        QString request;       // sent to the server
    };

    ConsoleFrame(ProcessState &process, Session &session, const UserInfos &user, const Policies &policies,
                 std::function<bool(const QString &payload)> sendData);

    // The items left for this user, after the role's and the policies' removals,
    // and what opening does: the Outbox, with the receipts asked for once.
    QList<Item> Load();
    Step OnClickItemLink(const QString &key);
    // A directory's answer is stored: true when its list may be shown, that is when
    // the person still waits for it (the latest choice wins).
    bool MayDisplay(int list) const;
    void QueryUnload();

    // The window's place: twips in the per-user store, at 15 twips a pixel.
    static QRect ReadGeometry(const UserStore &store);
    static void WriteGeometry(const UserStore &store, const QRect &pixels);

private:
    ProcessState &m_process;
    Session &m_session;
    const UserInfos &m_user;
    const Policies &m_policies;
    std::function<bool(const QString &)> m_sendData;
};
