#include "ui/PropertyInspector.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QToolButton>

namespace {

constexpr int KeyRole = Qt::UserRole + 1;

bool isSection(PropertyKind kind)
{
    return kind == PropertyKind::Section || kind == PropertyKind::SectionButton;
}

// The rows whose editor has no use for the arrows, so that they move between rows.
bool arrowsMove(PropertyKind kind)
{
    return kind != PropertyKind::Spin && kind != PropertyKind::List;
}

} // namespace

PropertyInspector::PropertyInspector(QWidget *parent) : QTreeWidget(parent)
{
    setColumnCount(2);
    setHeaderHidden(true);
    header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    header()->setStretchLastSection(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setAllColumnsShowFocus(true);
    setExpandsOnDoubleClick(true);
    // A flat list keeps its captions at the edge; the first section brings the branch marks.
    setRootIsDecorated(false);
    connect(this, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem *current) { rowBecameCurrent(current); });
}

void PropertyInspector::addRows(const QList<PropertyRow> &rows)
{
    for (const PropertyRow &row : rows)
        addRow(row);
}

void PropertyInspector::addRow(const PropertyRow &description)
{
    if (m_rows.contains(description.key) || description.key.isEmpty())
        return;
    const auto parentRow = m_rows.constFind(description.parent);
    QTreeWidgetItem *parentItem = parentRow == m_rows.constEnd() ? nullptr : parentRow->item;
    auto *item = parentItem ? new QTreeWidgetItem(parentItem) : new QTreeWidgetItem(this);
    item->setData(0, KeyRole, description.key);
    item->setText(0, description.key);

    Row &row = m_rows[description.key];
    row.kind = description.kind;
    row.item = item;
    m_order.append(description.key);

    if (isSection(description.kind)) {
        QFont bold = font();
        bold.setBold(true);
        item->setFont(0, bold);
        item->setFirstColumnSpanned(description.kind == PropertyKind::Section);
        item->setChildIndicatorPolicy(QTreeWidgetItem::DontShowIndicatorWhenChildless);
    }
    // Every row as tall as the tallest editor, so that the list reads as an even grid.
    item->setSizeHint(1, QSize(0, rowHeight()));
    if (parentItem) {
        parentItem->setExpanded(true);
        setRootIsDecorated(true);
    }
    if (QWidget *editor = makeEditor(description.key, row)) {
        setItemWidget(item, 1, editor);
        // Editors made after the form's own controls would come after its buttons in the Tab order.
        QWidget *stop = this->editor(description.key);
        setTabOrder(m_lastTabStop ? m_lastTabStop.data() : this, stop);
        m_lastTabStop = stop;
    }
    if (description.maximum > description.minimum)
        setRange(description.key, description.minimum, description.maximum);
    if (description.readOnly)
        setReadOnly(description.key, true);
}

QWidget *PropertyInspector::makeEditor(const QString &key, Row &row)
{
    switch (row.kind) {
    case PropertyKind::Section:
        return nullptr;
    case PropertyKind::SectionButton:
    case PropertyKind::TextButton:
        return buttonEditor(key, row);
    case PropertyKind::Text:
        row.line = new QLineEdit(this);
        row.line->setFrame(false);
        connect(row.line, &QLineEdit::editingFinished, this, [this, key] {
            Row &r = m_rows[key];
            if (r.line->text() == r.committed)
                return;
            r.committed = r.line->text();
            Q_EMIT edited(key);
        });
        watch(row.line, key);
        return row.line;
    case PropertyKind::Spin:
        row.spin = new QSpinBox(this);
        row.spin->setFrame(false);
        // Its arrows do not paint the cell behind them, which would show the selection through.
        row.spin->setAutoFillBackground(true);
        // The value counts once it is entered, not at every digit typed.
        row.spin->setKeyboardTracking(false);
        connect(row.spin, &QSpinBox::valueChanged, this, [this, key] { Q_EMIT edited(key); });
        watch(row.spin, key);
        return row.spin;
    case PropertyKind::Check:
        row.check = new QCheckBox(this);
        connect(row.check, &QCheckBox::toggled, this, [this, key](bool checked) {
            Q_EMIT checkToggled(key, checked);
            Q_EMIT edited(key);
        });
        watch(row.check, key);
        return row.check;
    case PropertyKind::List:
        row.combo = new QComboBox(this);
        row.combo->setFrame(false);
        connect(row.combo, &QComboBox::currentIndexChanged, this, [this, key] { Q_EMIT edited(key); });
        watch(row.combo, key);
        return row.combo;
    }
    return nullptr;
}

QWidget *PropertyInspector::buttonEditor(const QString &key, Row &row)
{
    auto *box = new QWidget(this);
    auto *layout = new QHBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    row.line = new QLineEdit(box);
    row.line->setFrame(false);
    row.line->setReadOnly(row.kind == PropertyKind::SectionButton);
    row.button = new QToolButton(box);
    row.button->setText(QStringLiteral("..."));
    // Tab goes row by row; the keyboard reaches the button through F4 or Alt+Down.
    row.button->setFocusPolicy(Qt::NoFocus);
    layout->addWidget(row.line, 1);
    layout->addWidget(row.button);
    box->setFocusProxy(row.line);
    connect(row.button, &QToolButton::clicked, this, [this, key] {
        setCurrentKey(key);
        Q_EMIT buttonClicked(key);
    });
    connect(row.line, &QLineEdit::editingFinished, this, [this, key] {
        Row &r = m_rows[key];
        if (r.line->isReadOnly() || r.line->text() == r.committed)
            return;
        r.committed = r.line->text();
        Q_EMIT edited(key);
    });
    watch(row.line, key);
    return box;
}

int PropertyInspector::rowHeight()
{
    if (m_rowHeight == 0) {
        // The framed heights: a frameless spin squeezed to its own height leaves its arrows no room.
        const QComboBox combo;
        const QSpinBox spin;
        m_rowHeight = qMax(combo.sizeHint().height(), spin.sizeHint().height());
    }
    return m_rowHeight;
}

void PropertyInspector::watch(QWidget *widget, const QString &key)
{
    m_keyOfEditor.insert(widget, key);
    widget->installEventFilter(this);
}

void PropertyInspector::setCaption(const QString &key, const QString &caption)
{
    const auto row = m_rows.constFind(key);
    if (row == m_rows.constEnd())
        return;
    row->item->setText(0, caption);
    // The caption stands in another column, where no buddy reaches: the field is named after it.
    if (QWidget *field = editor(key))
        field->setAccessibleName(caption);
    if (row->button)
        row->button->setAccessibleName(caption);
}

QString PropertyInspector::caption(const QString &key) const
{
    const auto row = m_rows.constFind(key);
    return row == m_rows.constEnd() ? QString() : row->item->text(0);
}

void PropertyInspector::setValue(const QString &key, const QVariant &value)
{
    const auto found = m_rows.find(key);
    if (found == m_rows.end())
        return;
    Row &row = *found;
    if (row.line) {
        const QSignalBlocker block(row.line);
        row.line->setText(value.toString());
        row.line->setCursorPosition(0);
        row.committed = row.line->text();
    } else if (row.spin) {
        const QSignalBlocker block(row.spin);
        row.spin->setValue(value.toInt());
    } else if (row.check) {
        const QSignalBlocker block(row.check);
        row.check->setChecked(value.toBool());
    } else if (row.combo) {
        const QSignalBlocker block(row.combo);
        row.combo->setCurrentIndex(value.toInt());
    }
}

QVariant PropertyInspector::value(const QString &key) const
{
    const auto found = m_rows.constFind(key);
    if (found == m_rows.constEnd())
        return {};
    if (found->line)
        return found->line->text();
    if (found->spin)
        return found->spin->value();
    if (found->check)
        return found->check->isChecked();
    if (found->combo)
        return found->combo->currentIndex();
    return {};
}

void PropertyInspector::setRange(const QString &key, int minimum, int maximum)
{
    if (const auto row = m_rows.constFind(key); row != m_rows.constEnd() && row->spin) {
        const QSignalBlocker block(row->spin);
        row->spin->setRange(minimum, maximum);
    }
}

void PropertyInspector::setListItems(const QString &key, const QStringList &items)
{
    const auto row = m_rows.constFind(key);
    if (row == m_rows.constEnd() || !row->combo)
        return;
    // New words for the same choices: the choice stays.
    const QSignalBlocker block(row->combo);
    const int index = row->combo->currentIndex();
    row->combo->clear();
    row->combo->addItems(items);
    row->combo->setCurrentIndex(index < items.size() ? index : -1);
}

void PropertyInspector::setReadOnly(const QString &key, bool readOnly)
{
    if (const auto row = m_rows.constFind(key); row != m_rows.constEnd() && row->line)
        row->line->setReadOnly(readOnly);
}

void PropertyInspector::setRowEnabled(const QString &key, bool enabled)
{
    const auto row = m_rows.constFind(key);
    if (row == m_rows.constEnd())
        return;
    row->item->setDisabled(!enabled);
    if (QWidget *widget = itemWidget(row->item, 1))
        widget->setEnabled(enabled);
}

bool PropertyInspector::isRowEnabled(const QString &key) const
{
    const auto row = m_rows.constFind(key);
    return row != m_rows.constEnd() && !row->item->isDisabled();
}

void PropertyInspector::setRowToolTip(const QString &key, const QString &tip)
{
    const auto row = m_rows.constFind(key);
    if (row == m_rows.constEnd())
        return;
    row->item->setToolTip(0, tip);
    row->item->setToolTip(1, tip);
    if (QWidget *widget = itemWidget(row->item, 1))
        widget->setToolTip(tip);
    // The field shows the tip of the row's widget around it; a screen reader reads its own.
    if (QWidget *field = editor(key))
        field->setAccessibleDescription(tip);
    if (row->button)
        row->button->setToolTip(tip);
}

QString PropertyInspector::rowToolTip(const QString &key) const
{
    const auto row = m_rows.constFind(key);
    return row == m_rows.constEnd() ? QString() : row->item->toolTip(0);
}

QWidget *PropertyInspector::editor(const QString &key) const
{
    const auto row = m_rows.constFind(key);
    if (row == m_rows.constEnd())
        return nullptr;
    if (row->line)
        return row->line;
    if (row->spin)
        return row->spin;
    if (row->check)
        return row->check;
    return row->combo;
}

void PropertyInspector::commit()
{
    for (const QString &key : std::as_const(m_order)) {
        Row &row = m_rows[key];
        if (row.spin) {
            // Out of range or half typed, the spin falls back to its last value as on leaving it.
            row.spin->interpretText();
        } else if (row.line && !row.line->isReadOnly() && row.line->text() != row.committed) {
            row.committed = row.line->text();
            Q_EMIT edited(key);
        }
    }
}

QString PropertyInspector::currentKey() const
{
    return keyOf(currentItem());
}

void PropertyInspector::setCurrentKey(const QString &key)
{
    if (const auto row = m_rows.constFind(key); row != m_rows.constEnd())
        setCurrentItem(row->item);
}

QString PropertyInspector::keyOf(const QTreeWidgetItem *item) const
{
    return item ? item->data(0, KeyRole).toString() : QString();
}

void PropertyInspector::announce(const QString &key)
{
    if (key.isEmpty() || key == m_editingKey)
        return;
    m_editingKey = key;
    Q_EMIT editing(key);
}

void PropertyInspector::rowBecameCurrent(QTreeWidgetItem *current)
{
    const QString key = keyOf(current);
    if (!m_syncing) {
        // Follow the current row with the focus, but only when the focus is in here already.
        QWidget *focus = QApplication::focusWidget();
        if (focus && (focus == this || isAncestorOf(focus))) {
            if (QWidget *widget = editor(key))
                widget->setFocus(Qt::OtherFocusReason);
            else
                setFocus(Qt::OtherFocusReason);
        }
    }
    announce(key);
}

void PropertyInspector::moveTo(QTreeWidgetItem *item)
{
    if (!item)
        return;
    if (!editor(keyOf(item)))
        setFocus(Qt::OtherFocusReason);
    setCurrentItem(item);
}

void PropertyInspector::focusInEvent(QFocusEvent *event)
{
    QTreeWidget::focusInEvent(event);
    // A click on a caption goes on to the value; Tab into the list stays on its current row.
    if (event->reason() == Qt::MouseFocusReason)
        if (QWidget *widget = editor(currentKey()))
            widget->setFocus(Qt::OtherFocusReason);
}

bool PropertyInspector::eventFilter(QObject *watched, QEvent *event)
{
    const auto found = m_keyOfEditor.constFind(watched);
    if (found == m_keyOfEditor.constEnd())
        return QTreeWidget::eventFilter(watched, event);
    const QString key = *found;
    const Row &row = m_rows[key];
    if (event->type() == QEvent::FocusIn) {
        m_syncing = true;
        setCurrentItem(row.item);
        m_syncing = false;
        scrollToItem(row.item);
        announce(key);
    } else if (event->type() == QEvent::KeyPress) {
        const auto *keyEvent = static_cast<QKeyEvent *>(event);
        const bool altDown =
            keyEvent->key() == Qt::Key_Down && keyEvent->modifiers().testFlag(Qt::AltModifier);
        if (row.button && (keyEvent->key() == Qt::Key_F4 || altDown)) {
            if (row.button->isEnabled())
                row.button->click();
            return true;
        }
        if (arrowsMove(row.kind) && !altDown && keyEvent->modifiers() == Qt::NoModifier) {
            if (keyEvent->key() == Qt::Key_Up) {
                moveTo(itemAbove(row.item));
                return true;
            }
            if (keyEvent->key() == Qt::Key_Down) {
                moveTo(itemBelow(row.item));
                return true;
            }
        }
    }
    return QTreeWidget::eventFilter(watched, event);
}
