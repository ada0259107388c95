#pragma once

#include "core/PropertyRows.h"

#include <QHash>
#include <QPointer>
#include <QTreeWidget>
#include <QVariant>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QSpinBox;
class QToolButton;

// A two-column property list: captions on the left, an editor for each value
// on the right, rows grouped under collapsible sections and reached by key.
// Tab and the arrows move from row to row (a spin or a list keeps its own
// arrows), Space toggles a check, F4 or Alt+Down opens a list or presses an
// ellipsis button.
class PropertyInspector final : public QTreeWidget
{
    Q_OBJECT
public:
    explicit PropertyInspector(QWidget *parent = nullptr);

    // The row goes under its parent, which must be there already; a key that is there is left alone.
    void addRow(const PropertyRow &row);
    void addRows(const QList<PropertyRow> &rows);
    QStringList keys() const { return m_order; }

    void setCaption(const QString &key, const QString &caption);
    QString caption(const QString &key) const;
    // A text row takes a string, a spin an int, a check a bool, a list the index
    // of its choice, a section with a button its summary. Setting emits nothing.
    void setValue(const QString &key, const QVariant &value);
    QVariant value(const QString &key) const;
    void setRange(const QString &key, int minimum, int maximum);
    void setListItems(const QString &key, const QStringList &items);
    void setReadOnly(const QString &key, bool readOnly);
    void setRowEnabled(const QString &key, bool enabled);
    bool isRowEnabled(const QString &key) const;
    // A tip over the whole row, caption and value, which a greyed row shows too; the field reads it out.
    void setRowToolTip(const QString &key, const QString &tip);
    QString rowToolTip(const QString &key) const;
    // The widget that takes the focus for the row's value; nullptr for a plain section.
    QWidget *editor(const QString &key) const;
    QString currentKey() const;
    void setCurrentKey(const QString &key);
    // Takes in what an editor still holds uncommitted (digits typed in a spin, a
    // text not yet left), emitting edited for each, so that a button pressed by
    // its shortcut without moving the focus reads what the person sees.
    void commit();

Q_SIGNALS:
    // The row became the current one.
    void editing(const QString &key);
    // A person committed a new value.
    void edited(const QString &key);
    void checkToggled(const QString &key, bool checked);
    void buttonClicked(const QString &key);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;

private:
    struct Row
    {
        PropertyKind kind = PropertyKind::Section;
        QTreeWidgetItem *item = nullptr;
        QLineEdit *line = nullptr;
        QSpinBox *spin = nullptr;
        QCheckBox *check = nullptr;
        QComboBox *combo = nullptr;
        QToolButton *button = nullptr;
        // The text as last committed, so that leaving an unchanged field is no edit.
        QString committed;
    };

    QWidget *makeEditor(const QString &key, Row &row);
    QWidget *buttonEditor(const QString &key, Row &row);
    void watch(QWidget *widget, const QString &key);
    int rowHeight();
    void rowBecameCurrent(QTreeWidgetItem *current);
    void announce(const QString &key);
    void moveTo(QTreeWidgetItem *item);
    QString keyOf(const QTreeWidgetItem *item) const;

    QHash<QString, Row> m_rows;
    QStringList m_order;
    QHash<QObject *, QString> m_keyOfEditor;
    QString m_editingKey;
    bool m_syncing = false;
    int m_rowHeight = 0;
    QPointer<QWidget> m_lastTabStop;
};
