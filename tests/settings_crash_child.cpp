// Saves the settings in a loop, every value changing with the round, and says
// each round once its save returned, until it is killed.
#include "core/OptionKeys.h"
#include "core/Options.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 2)
        return 2;
    Options options;
    options.setIniPath(QString::fromLocal8Bit(argv[1]));
    for (qint64 round = 0;; ++round) {
        for (const OptionKey &key : optionKeys())
            setOptionValue(options, key,
                           std::holds_alternative<QString>(key.readDefault)
                               ? OptionValue(QStringLiteral("v%1").arg(round))
                               : OptionValue(round % 2));
        options.SaveOptions();
        std::printf("%lld\n", static_cast<long long>(round));
        std::fflush(stdout);
    }
}
