#include "console/GridLayout.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

// The lists whose settings key is not their file prefix.
QString keyStem(const QString &prefix)
{
    if (prefix == QLatin1String("Ptemplates"))
        return QStringLiteral("MyTemplates");
    if (prefix == QLatin1String("Stemplates"))
        return QStringLiteral("SharedTemplates");
    return prefix;
}

// The lists that ship one fixed file rather than a full and a simple one.
bool singleFixedFile(const QString &prefix)
{
    static const QStringList single = {QStringLiteral("Ptemplates"),    QStringLiteral("Stemplates"),
                                       QStringLiteral("Users"),         QStringLiteral("Machines"),
                                       QStringLiteral("AdminsList"),    QStringLiteral("MyGroups"),
                                       QStringLiteral("KorvaneGroups"), QStringLiteral("DomainGroups")};
    return single.contains(prefix);
}

} // namespace

GridLayout::GridLayout(const QString &prefix, const QString &programDir, const QString &dataDir)
    : m_prefix(prefix), m_programDir(programDir), m_dataDir(dataDir)
{
}

QString GridLayout::LayoutKey() const
{
    return keyStem(m_prefix) + QStringLiteral("Layout");
}

QString GridLayout::MaxFile() const
{
    const QString name = singleFixedFile(m_prefix) ? m_prefix : m_prefix + QStringLiteral("Max");
    return m_programDir + QStringLiteral("/Layouts/") + name + QStringLiteral(".xgl");
}

QString GridLayout::MinFile() const
{
    const QString name = singleFixedFile(m_prefix) ? m_prefix : m_prefix + QStringLiteral("Min");
    return m_programDir + QStringLiteral("/Layouts/") + name + QStringLiteral(".xgl");
}

QString GridLayout::CustomFile() const
{
    return m_dataDir + QLatin1Char('/') + m_prefix + QStringLiteral("Cust.xgl");
}

void GridLayout::Load(const QString &storedNumber)
{
    bool ok = false;
    const int number = storedNumber.trimmed().toInt(&ok);
    m_number = ok && (number == Simple || number == Custom) ? number : Full;
}

bool GridLayout::Activate()
{
    if (m_activated)
        return false;
    m_activated = true;
    return true;
}

QString GridLayout::LoadLayout()
{
    if (m_number == Simple) {
        m_dirty = false;
        return MinFile();
    }
    // The person's columns, or the full ones until there are any; the changes still wait.
    if (m_number == Custom)
        return QFileInfo::exists(CustomFile()) ? CustomFile() : MaxFile();
    m_dirty = false;
    return MaxFile();
}

GridLayout::Change GridLayout::Choose(Number layout)
{
    Change change;
    if (layout == Custom) {
        change.reload = m_number != Custom;
        m_number = Custom;
        change.openChooser = true;
        return change;
    }
    if (m_number == layout)
        return change;
    // Changed columns go to the person's file first, so that a later Custom finds them.
    change.saveCustom = m_dirty;
    m_number = layout;
    change.reload = true;
    return change;
}

GridLayout::Menu GridLayout::LayoutMenu(int groupColumns) const
{
    return {groupColumns > 0, m_number != Full, m_number != Simple};
}

GridState GridLayout::Read(QStringList *failures)
{
    QString file = LoadLayout();
    for (;;) {
        QFile in(file);
        GridState state;
        QString reason;
        if (!in.open(QIODevice::ReadOnly))
            reason = in.errorString();
        else if (GridState::Read(in.read(GridState::MaxFileSize + 1), state, &reason))
            return state;
        if (failures)
            *failures << file + QStringLiteral(": ") + reason;
        // A damaged person's file gives way to the fixed one; without that, the design columns stand.
        if (file != CustomFile())
            return {};
        file = MaxFile();
    }
}

bool GridLayout::SaveCustom(const GridState &state, QString *error) const
{
    // Written whole or not at all: a crash never leaves half a layout.
    QSaveFile out(CustomFile());
    if (out.open(QIODevice::WriteOnly) && out.write(state.Write()) >= 0 && out.commit())
        return true;
    if (error)
        *error = out.errorString();
    return false;
}
