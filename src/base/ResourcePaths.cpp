#include "ResourcePaths.h"

#include <QCoreApplication>
#include <QDir>

namespace Lumo::Base::ResourcePaths {

QString dataDir()
{
    const QString overridden = qEnvironmentVariable("LUMO_DATA_DIR");
    if (!overridden.isEmpty())
        return QDir::cleanPath(overridden);
    return QDir::cleanPath(QCoreApplication::applicationDirPath() +
                           QStringLiteral("/../share/lumo"));
}

QString file(const QString &relativePath)
{
    return dataDir() + QLatin1Char('/') + relativePath;
}

QString welcomeDocument()
{
    return file(QStringLiteral("Welcome.md"));
}

} // namespace Lumo::Base::ResourcePaths
