#include "core/Languages.h"

#include "core/StringTable.h"

#include <algorithm>

const QList<LanguageEntry> &Languages::all()
{
    // Each name is the language's own, so that a reader lost in the other one still finds his.
    static const QList<LanguageEntry> languages = {{0, 1450}, {1, 1451}};
    return languages;
}

int Languages::indexOf(qint16 code)
{
    const QList<LanguageEntry> &languages = all();
    const auto found = std::find_if(languages.cbegin(), languages.cend(),
                                    [code](const LanguageEntry &language) { return language.code == code; });
    return found == languages.cend() ? -1 : int(found - languages.cbegin());
}

QStringList Languages::names()
{
    QStringList names;
    for (const LanguageEntry &language : all())
        names.append(ResString(language.nameId));
    return names;
}
