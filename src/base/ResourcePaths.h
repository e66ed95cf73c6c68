#pragma once

#include <QString>

// Where the bundled resources live: share/lumo beside the executable's bin folder,
// in the build tree and when installed alike. LUMO_DATA_DIR overrides it (tests).
namespace Lumo::Base::ResourcePaths {

QString dataDir();
QString file(const QString &relativePath);
QString welcomeDocument();

} // namespace Lumo::Base::ResourcePaths
