#pragma once

#include "core/Log.h"

#include <QFile>
#include <QString>

// The whole client log as it stands on disk now.
inline QString logText()
{
    QFile file(LogFile::path());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}
