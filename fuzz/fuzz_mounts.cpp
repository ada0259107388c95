// Any bytes as the mount table, and any text as a path chosen for an
// attachment: read, judged and turned into the form other machines open.
#include "fuzz/FuzzSupport.h"
#include "netsvc/NetworkPaths.h"

#include <QFile>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzzEnvironment();
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    static const QString table = gProcess().AppDataPath + QStringLiteral("/mountinfo");
    QFile file(table);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(bytes);
    file.close();
    const QList<NetworkPaths::Mount> mounts = NetworkPaths::ReadMounts(table);
    // The first line doubles as a path a person typed.
    QStringList paths{QString::fromUtf8(bytes.left(bytes.indexOf('\n')))};
    for (const NetworkPaths::Mount &mount : mounts)
        paths << mount.mountPoint + QStringLiteral("/a/../b.pdf") << mount.source + QStringLiteral("/c.pdf");
    for (QString path : paths) {
        NetworkPaths::IsNetworkPath(path, mounts);
        NetworkPaths::LocalPathOf(path, mounts);
        if (NetworkPaths::PathToUNC(path, mounts) && path.isEmpty())
            __builtin_trap(); // a network path that names nothing
    }
    return 0;
}
