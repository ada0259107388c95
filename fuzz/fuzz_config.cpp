// Any bytes as a configuration file of this machine: the client's own settings
// file, and the files that tell which directory domain the machine joined.
#include "core/Options.h"
#include "fuzz/FuzzSupport.h"
#include "netsvc/JoinedDomain.h"
#include "netsvc/SambaShares.h"

#include <QFile>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzzEnvironment();
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QString text = QString::fromUtf8(bytes);
    JoinedDomain::FromSssd(text);
    JoinedDomain::FromSamba(text);
    // The same text as the shares of this machine, and a path turned through them.
    const QList<SambaShares::Share> shares = SambaShares::FromConfig(text);
    QString path = QStringLiteral("/srv/docs/q4/report.pdf");
    SambaShares::ToNetworkPath(path, shares, SambaShares::HostName(text));

    static const QString iniPath = gProcess().AppDataPath + QStringLiteral("/KorvaneClient.ini");
    QFile file(iniPath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(bytes);
    file.close();
    Options options;
    options.setIniPath(iniPath);
    options.ReadOptions();
    // What was read must save and read back without harm.
    options.SaveOptions();
    Options again;
    again.setIniPath(iniPath);
    again.ReadOptions();
    return 0;
}
