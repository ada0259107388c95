#pragma once

#include <QString>

// The name of the operating system, from PRETTY_NAME of os-release; empty when
// neither file tells it.
QString DetectOsName(const QString &osRelease = QString());
