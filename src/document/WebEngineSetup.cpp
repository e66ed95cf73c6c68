#include "WebEngineSetup.h"

#include "LocalAssetHandler.h"

#include <QCoreApplication>
#include <QtGlobal>
#include <unistd.h>

namespace Lumo::Document::WebEngineSetup {

void prepare()
{
    // Chromium refuses to start its sandbox as root; the page runs no foreign script
    // anyway (it is sanitised and its policy allows only its own).
    if (::geteuid() == 0)
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    // Every page is the same local page: one renderer serves all tabs, which costs
    // each extra tab a fraction of a process of its own.
    QByteArray flags = qgetenv("QTWEBENGINE_CHROMIUM_FLAGS");
    if (!flags.contains("--process-per-site"))
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS", (flags + " --process-per-site").trimmed());
    LocalAssetHandler::registerScheme();
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
}

} // namespace Lumo::Document::WebEngineSetup
