#include "RevealWhenReady.h"

#include "base/PathKey.h"
#include "document/DocumentController.h"
#include "document/OpenDocument.h"
#include "OpenTarget.h"

#include <memory>
#include <QDir>
#include <QFileInfo>

namespace Lumo::App {

using Lumo::Document::DocumentController;
using Lumo::Document::OpenDocument;
using Lumo::Document::OutlineItem;
namespace PathKey = Lumo::Base::PathKey;

namespace RevealWhenReady {
namespace {

template <typename Action> void forEachShowing(const QString &key, Action action)
{
    for (DocumentController *controller : DocumentController::registry()) {
        const OpenDocument *document = controller->document();
        if (document && !document->isUntitled() && PathKey::resolved(document->path()) == key)
            action(controller);
    }
}

// Jumps to the heading once the controller knows its outline: the page reports the
// outline just after the render that whenReady waits for.
void jumpToHeading(DocumentController *controller, const QString &name)
{
    const int index = OpenTarget::headingIndex(controller->outline(), name);
    if (index >= 0) {
        controller->jump(controller->outline().at(index));
        return;
    }
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = QObject::connect(controller, &DocumentController::outlineChanged, controller,
                                   [controller, name, connection] {
                                       QObject::disconnect(*connection);
                                       const QList<OutlineItem> outline = controller->outline();
                                       const int found = OpenTarget::headingIndex(outline, name);
                                       if (found >= 0)
                                           controller->jump(outline.at(found));
                                   });
}

} // namespace

void line(const QString &path, int line)
{
    if (line < 0)
        return;
    DocumentController::whenReady(path, [key = PathKey::resolved(path), line] {
        forEachShowing(key, [line](DocumentController *controller) { controller->showLine(line); });
    });
}

void heading(const QString &path, const QString &name)
{
    if (name.isEmpty())
        return;
    DocumentController::whenReady(path, [key = PathKey::resolved(path), name] {
        forEachShowing(
            key, [&name](DocumentController *controller) { jumpToHeading(controller, name); });
    });
}

} // namespace RevealWhenReady

} // namespace Lumo::App
