// The list payloads of replication and receipts, into a real store. The first
// byte chooses the handler.
#include "core/Failure.h"
#include "delivery/Receipts.h"
#include "delivery/Replication.h"
#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzzEnvironment();
    if (size == 0)
        return 0;
    static Replication replication([](const QString &) { return true; });
    static Receipts receipts([](const QString &) { return true; });
    const QString payload = wireText(data + 1, size - 1);
    Failure failure;
    switch (data[0] % 11) {
    case 0:
        replication.UsersReceived(payload);
        break;
    case 1:
        replication.MachinesReceived(payload);
        break;
    case 2:
        replication.GroupsReceived(payload);
        break;
    case 3:
        replication.UsersGroupReceived(payload);
        break;
    case 4:
        replication.LevelsReceived(payload);
        break;
    case 5:
        replication.UserGroupsReceived(payload);
        break;
    case 6:
        replication.StoreAdministrator(payload, failure);
        break;
    case 7:
        replication.MessagesDeleted(payload);
        break;
    case 8:
        receipts.GetReceipt(payload);
        break;
    case 9:
        receipts.GetAdminReceipt(payload);
        break;
    default:
        replication.TemplatesReceived(payload);
        break;
    }
    return 0;
}
