// Any bytes as the mount table, and any text as a path chosen for an
// attachment: read, judged and turned into the form other machines open.
#include "fuzz/FuzzSupport.h"
#include "netsvc/NetworkPaths.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzzEnvironment();
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QList<NetworkPaths::Mount> mounts = NetworkPaths::ParseMounts(bytes);
    // The first line doubles as a path a person typed.
    QStringList paths{QString::fromUtf8(bytes.left(bytes.indexOf('\n')))};
    for (const NetworkPaths::Mount &mount : mounts)
        paths << mount.mountPoint + QStringLiteral("/a/../b.pdf") << mount.source + QStringLiteral("/c.pdf");
    for (QString path : paths) {
        const bool network = NetworkPaths::IsNetworkPath(path, mounts);
        NetworkPaths::LocalPathOf(path, mounts);
        // One answer: what is a network path turns into a form other machines open, and nothing else does.
        if (NetworkPaths::PathToUNC(path, mounts) != network ||
            (network && !NetworkPaths::IsNetworkPath(path, {})))
            __builtin_trap();
    }
    return 0;
}
