#include "core/Languages.h"

#include "core/StringTable.h"

const QList<LanguageEntry> &Languages::all()
{
    // Each name is the language's own, so that a reader lost in the other one still finds his.
    static const QList<LanguageEntry> languages = {{0, 1450}, {1, 1451}};
    return languages;
}

int Languages::indexOf(qint16 code)
{
    const QList<LanguageEntry> &languages = all();
    for (qsizetype i = 0; i < languages.size(); ++i)
        if (languages[i].code == code)
            return int(i);
    return -1;
}

QStringList Languages::names()
{
    QStringList names;
    for (const LanguageEntry &language : all())
        names.append(ResString(language.nameId));
    return names;
}
