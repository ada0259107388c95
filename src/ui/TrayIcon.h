#pragma once

#include "core/ClientMenu.h"

#include <QHash>
#include <QIcon>
#include <QObject>

class QAction;
class QMenu;
class QSystemTrayIcon;

// The notification-area icon with its two images, its tip and the engine's
// menu. Where the desktop has no tray the client runs on without it.
class TrayIcon final : public QObject
{
    Q_OBJECT
public:
    explicit TrayIcon(QObject *parent = nullptr);
    ~TrayIcon() override;

    // Image 0: not connected; 1: connected.
    void show(int image, const QString &tip);
    void remove();
    void rebuildMenu(const ClientMenu &menu);
    // Opens the menu where the pointer is (a second start asks for this).
    void popupMenu();

    static QIcon image(int index);

Q_SIGNALS:
    void itemClicked(ClientMenu::Item item);

private:
    void buildMenu(const ClientMenu &menu);

    QHash<int, QAction *> m_actions;
    QSystemTrayIcon *m_tray = nullptr;
    QMenu *m_menu = nullptr;
};
