#include "engine/ProgramStart.h"

#include "core/AppPaths.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "core/OsInfo.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "core/UserStore.h"
#include "engine/KorvanClient.h"
#include "netsvc/NetApi.h"
#include "store/DBFunctions.h"
#include "store/DateText.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryFile>

namespace {

const QString OptionsGroup = QStringLiteral("Options");

// A folder counts as usable when a file can really be made in it.
bool usable(const QString &folder)
{
    if (!QDir().mkpath(folder))
        return false;
    QTemporaryFile probe(QDir(folder).filePath(QStringLiteral(".probe-XXXXXX")));
    return probe.open();
}

QString unusableDataFolder;

} // namespace

void ProgramStart::PrepareDataFolder()
{
    ProcessState &process = gProcess();
    process.CurrentList = 0;
    process.GridColorOdd = 14872561; // RGB F1EFE2 as blue-green-red
    process.GridColorEven = 0xFFFFFF;

    const QString folder = AppPaths::dataFolder();
    if (usable(folder)) {
        process.AppDataPath = folder;
        return;
    }
    // The client still runs; this run's files go where they can.
    unusableDataFolder = folder;
    const QString fallback = AppPaths::fallbackDataFolder();
    process.AppDataPath = usable(fallback) ? fallback : QDir::tempPath();
}

void ProgramStart::ReadSettings()
{
    Options &options = gOptions();
    options.setIniPath(AppPaths::iniFile(), AppPaths::deployedIniFile());
    options.ReadOptions();
    DateText::setFormat(options.DateTimeFormat);
}

void ProgramStart::AskAboutTrace()
{
    Options &options = gOptions();
    Frontend *frontend = Frontend::current();
    if (!options.Trace || !frontend)
        return;
    const int answer = frontend->MessageBoxShow(ResString(160) + QLatin1Char('\n') + ResString(161),
                                                ResString(162), IconQuestion, ButtonsYesNo);
    if (answer == ResultYes) {
        options.Trace = false;
        options.SaveOptions();
    }
}

void ProgramStart::FindUserName()
{
    const UserStore store(AppPaths::userStoreFile());
    UserInfos &user = gUserInfos();
    QString name = store.read(OptionsGroup, QStringLiteral("UserName"), QString());
    if (!name.isEmpty()) {
        user.UserName = name;
        return;
    }
    if (gProcess().DomainAvailable)
        name = GetUserFullName(user.UserID());
    // The question cannot be cancelled out of: it comes back until a name is given.
    Frontend *frontend = Frontend::current();
    while (name.trimmed().isEmpty() && frontend)
        name = frontend->InputText(ResString(158), ResString(159), IconQuestion, ButtonsOk, QString());
    user.UserName = name.trimmed();
    if (!store.write(OptionsGroup, QStringLiteral("UserName"), user.UserName))
        WriteLog(QStringLiteral("frmKorvanClient:Main - cannot save the user name in ") + store.fileName());
}

void ProgramStart::SetLanguage()
{
    const UserStore store(AppPaths::userStoreFile());
    const QString text =
        store.read(OptionsGroup, QStringLiteral("Language"), QString::number(gOptions().Language));
    bool ok = false;
    const int language = text.trimmed().toInt(&ok);
    gUserInfos().Language = ok && language >= -32768 && language <= 32767 ? static_cast<qint16>(language) : 0;
}

std::unique_ptr<KorvanClient> ProgramStart::Run()
{
    PrepareDataFolder();
    ReadSettings();
    AskAboutTrace();
    LogFile::renew();
    gProcess().DatabaseOpen = InitializeDB(gProcess().AppDataPath);
    if (gProcess().DatabaseOpen)
        GetLevels();
    for (const QString &problem : gOptions().problems())
        WriteLog(problem);
    if (!unusableDataFolder.isEmpty())
        WriteLog(QStringLiteral("The data folder ") + unusableDataFolder +
                 QStringLiteral(" cannot be written; this run keeps its files in ") + gProcess().AppDataPath);

    ProcessState &process = gProcess();
    process.OsName = DetectOsName();
    process.OsIsNT = true;
    WriteLog(ResString(207) + process.OsName);

    // The name service is this machine's directory: the user's own groups and
    // name can be read whenever it knows the login, joined to a domain or not.
    process.DomainController = GetPrimaryDCName();
    process.DomainAvailable = UserKnown(UserInfos::LoginName());

    WriteLog(QStringLiteral("Getting the user's infos"));
    gUserInfos();
    FindUserName();
    SetLanguage();
    if (process.DomainAvailable)
        EnumGroupsFromUser(gUserInfos().UserID());

    WriteLog(QStringLiteral("Loading Korvan Client module..."));
    for (int failures = 0;;) {
        auto engine = std::make_unique<KorvanClient>();
        QString error;
        if (engine->Load(&error))
            return engine;
        if (++failures > LoadRetries) {
            WriteLog(QStringLiteral("frmKorvanClient_Load ERRROR: ") + error);
            return nullptr;
        }
    }
}
