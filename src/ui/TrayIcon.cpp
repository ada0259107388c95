#include "ui/TrayIcon.h"

#include <QCursor>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QSystemTrayIcon>

namespace {

// A "K" on a round badge: blue when connected, grey when not.
QPixmap paintBadge(int size, const QColor &fill)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(fill.darker(140), size / 16.0));
    painter.setBrush(fill);
    const qreal margin = size / 16.0;
    painter.drawEllipse(QRectF(margin, margin, size - 2 * margin, size - 2 * margin));
    QFont font = painter.font();
    font.setBold(true);
    font.setPixelSize(size * 5 / 8);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QRect(0, 0, size, size), Qt::AlignCenter, QStringLiteral("K"));
    return pixmap;
}

} // namespace

TrayIcon::TrayIcon(QObject *parent) : QObject(parent), m_tray(new QSystemTrayIcon(this)), m_menu(new QMenu)
{
    m_tray->setContextMenu(m_menu);
}

TrayIcon::~TrayIcon()
{
    m_tray->setContextMenu(nullptr);
    delete m_menu;
}

QIcon TrayIcon::image(int index)
{
    const QColor fill = index == 1 ? QColor(0x1e, 0x6f, 0xd9) : QColor(0x8a, 0x8a, 0x8a);
    QIcon icon;
    for (int size : {16, 22, 24, 32, 48, 64})
        icon.addPixmap(paintBadge(size, fill));
    return icon;
}

void TrayIcon::show(int image, const QString &tip)
{
    m_tray->setIcon(TrayIcon::image(image));
    m_tray->setToolTip(tip);
    m_tray->show();
}

void TrayIcon::remove()
{
    m_tray->hide();
}

void TrayIcon::rebuildMenu(const ClientMenu &menu)
{
    // Actions are made once and then updated in place: the menu may be calling
    // into the engine through one of them at this very moment.
    if (m_actions.isEmpty())
        buildMenu(menu);
    for (const ClientMenu::Entry &entry : menu.entries()) {
        QAction *action = m_actions.value(entry.item);
        if (!action)
            continue;
        action->setText(entry.caption);
        action->setEnabled(entry.enabled);
        action->setVisible(entry.visible);
        action->setChecked(entry.checked);
    }
}

void TrayIcon::buildMenu(const ClientMenu &menu)
{
    QMenu *configuration = nullptr;
    for (const ClientMenu::Entry &entry : menu.entries()) {
        if (entry.separator) {
            m_menu->addSeparator();
            continue;
        }
        if (entry.item == ClientMenu::mnuConfiguration) {
            configuration = m_menu->addMenu(entry.caption);
            m_actions.insert(entry.item, configuration->menuAction());
            continue;
        }
        QMenu *into = entry.inSubmenu && configuration ? configuration : m_menu;
        QAction *action = into->addAction(entry.caption);
        action->setCheckable(entry.checkable);
        const ClientMenu::Item item = entry.item;
        connect(action, &QAction::triggered, this, [this, item] { Q_EMIT itemClicked(item); });
        m_actions.insert(item, action);
    }
}

void TrayIcon::popupMenu()
{
    m_menu->popup(QCursor::pos());
    m_menu->activateWindow();
}
