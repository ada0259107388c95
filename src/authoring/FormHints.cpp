#include "authoring/FormHints.h"

#include "authoring/AuthoringTexts.h"
#include "core/StringTable.h"

const QStringList &FormHints::Controls()
{
    static const QStringList controls = {
        QStringLiteral("txtSubject"),     QStringLiteral("txtText"),      QStringLiteral("cmdVariable"),
        QStringLiteral("txtTarget"),      QStringLiteral("cmdKorvan"),    QStringLiteral("cmdDomain"),
        QStringLiteral("cmdUsers"),       QStringLiteral("cmdMyGroups"),  QStringLiteral("cmdMachines"),
        QStringLiteral("txtLink"),        QStringLiteral("cboLevel"),     QStringLiteral("cboDelivery"),
        QStringLiteral("numRepeat"),      QStringLiteral("cboRepeat"),    QStringLiteral("dateNextRun"),
        QStringLiteral("dateExpiration"), QStringLiteral("chkReply"),     QStringLiteral("chkReceipt"),
        QStringLiteral("chkNotify"),      QStringLiteral("chkExactTime"), QStringLiteral("chkBroadcast"),
        QStringLiteral("OKButton"),       QStringLiteral("CancelButton")};
    return controls;
}

QString FormHints::Hint(const QString &controlName)
{
    QString name = controlName;
    name.replace(QStringLiteral("timeNextRun"), QStringLiteral("dateNextRun"));
    name.replace(QStringLiteral("timeExpiration"), QStringLiteral("dateExpiration"));
    const qsizetype index = Controls().indexOf(name);
    // The package composer's Mandatory box stands where Exact time stands in a message's.
    const bool mandatory = name == QLatin1String("chkMandatory");
    if (index < 0 && !mandatory)
        return {};
    const QString text =
        ResString(mandatory ? int(AuthoringTexts::HintMandatory) : AuthoringTexts::HintFirst + int(index));
    const qsizetype bar = text.indexOf(QLatin1Char('|'));
    if (bar < 0)
        return text;
    return QStringLiteral("<b>") + text.left(bar).toHtmlEscaped() + QStringLiteral("</b><br>") +
           text.mid(bar + 1);
}

QString FormHints::Title(const QString &controlName)
{
    const qsizetype index = Controls().indexOf(controlName);
    if (index < 0)
        return {};
    return ResString(AuthoringTexts::HintFirst + int(index)).section(QLatin1Char('|'), 0, 0);
}
