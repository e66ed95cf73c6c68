#include "Application.h"

#include "base/DebugHooks.h"
#include "base/Preferences.h"
#include "base/ResourcePaths.h"
#include "base/WarningAlert.h"
#include "CommandLineTool.h"
#include "DebugHookRouter.h"
#include "DocumentTab.h"
#include "DocumentWindow.h"
#include "FolderOpener.h"
#include "OpenTarget.h"
#include "RevealWhenReady.h"
#include "WindowMenus.h"
#include "workspace/FolderOpenRules.h"

#include <cstdio>
#include <QApplication>
#include <QFileInfo>
#include <QJsonArray>

namespace Lumo::App {

using Lumo::Base::DebugHooks;
using Lumo::Base::Preferences;
using Lumo::Document::OpenDocument;
namespace FolderOpenRules = Lumo::Workspace::FolderOpenRules;
namespace ResourcePaths = Lumo::Base::ResourcePaths;
namespace WarningAlert = Lumo::Base::WarningAlert;

Application::Application(QObject *parent)
    : QObject(parent)
{
    auto *hooks = new DebugHookRouter(
        [this]() -> DocumentWindow * {
            if (m_lastActive)
                return m_lastActive;
            const QList<DocumentWindow *> live = windows();
            return live.isEmpty() ? nullptr : live.constLast();
        },
        this);
    connect(hooks, &DebugHookRouter::openRequested, this, [this](const QString &path) {
        QString error;
        const bool opened = openFile(path, nullptr, &error);
        const QString outcome = opened ? QStringLiteral("opened %1").arg(path)
                                       : QStringLiteral("failed: %1").arg(error);
        std::fprintf(stdout, "Lumo debug openURL: %s\n", qUtf8Printable(outcome));
        std::fflush(stdout);
    });
}

QList<DocumentWindow *> Application::windows() const
{
    QList<DocumentWindow *> live;
    for (const auto &window : m_windows) {
        if (window)
            live.append(window);
    }
    return live;
}

void Application::handleRequest(const QJsonObject &request)
{
    const QString kind = request.value(QLatin1String("kind")).toString();
    if (kind == QLatin1String("post")) {
        if (Preferences::shared().debugHooks())
            DebugHooks::shared().post(request.value(QLatin1String("name")).toString(),
                                      request.value(QLatin1String("arg")).toString());
        return;
    }
    if (kind != QLatin1String("open"))
        return;

    bool asked = false;
    QList<OpenTarget> targets;
    for (const QJsonValue &path : request.value(QLatin1String("paths")).toArray()) {
        targets.append(OpenTarget::fromJson(path));
        asked = true;
    }
    for (const QJsonValue &url : request.value(QLatin1String("urls")).toArray()) {
        asked = true;
        if (const auto folder = CommandLineTool::folderToOpen(url.toString()))
            openFolder(*folder);
    }
    for (const OpenTarget &target : std::as_const(targets)) {
        if (target.path.isEmpty() || openFiles({target.path}) == 0)
            continue;
        RevealWhenReady::line(target.path, target.line);
        RevealWhenReady::heading(target.path, target.heading);
    }
    if (request.value(QLatin1String("text")).isString()) {
        newDocument(request.value(QLatin1String("text")).toString());
        asked = true;
    }
    if (asked)
        return;

    Preferences &prefs = Preferences::shared();
    if (!prefs.launchedBefore() && openFiles({ResourcePaths::welcomeDocument()}) > 0) {
        prefs.setLaunchedBefore(true);
        return;
    }
    prefs.setLaunchedBefore(true);
    newDocument();
}

DocumentWindow *Application::newWindow()
{
    auto *window = new DocumentWindow;
    WindowMenus::build(window);
    attach(window);
    window->show();
    return window;
}

void Application::attach(DocumentWindow *window)
{
    m_windows.append(window);
    m_lastActive = window;
    connect(window, &DocumentWindow::activated, this,
            [this](DocumentWindow *active) { m_lastActive = active; });
    connect(window, &DocumentWindow::openFilesRequested, this,
            [this](const QStringList &paths, DocumentWindow *from) { openFiles(paths, from); });
    connect(window, &DocumentWindow::newDocumentRequested, this,
            [this](DocumentWindow *from) { newDocument({}, from); });
    connect(window, &DocumentWindow::newWindowRequested, this,
            [this] { newDocument({}, newWindow()); });
    connect(window, &DocumentWindow::quitRequested, this, &Application::quit);
    connect(window, &DocumentWindow::openFolderRequested, this,
            [this](const QString &path, DocumentWindow *from) { openFolder(path, from); });
}

DocumentWindow *Application::targetWindow(DocumentWindow *window)
{
    if (window)
        return window;
    if (m_lastActive)
        return m_lastActive;
    const QList<DocumentWindow *> live = windows();
    return live.isEmpty() ? newWindow() : live.constLast();
}

void Application::newDocument(const QString &text, DocumentWindow *window)
{
    targetWindow(window)->addDocument(new OpenDocument(text));
}

int Application::openFiles(const QStringList &paths, DocumentWindow *window)
{
    int opened = 0;
    for (const QString &path : paths) {
        if (FolderOpenRules::isFolder(path)) {
            openFolder(path, window);
            ++opened;
            continue;
        }
        QString error;
        if (openFile(path, window, &error))
            ++opened;
        else
            showOpenError(error, window);
    }
    return opened;
}

bool Application::openFile(const QString &path, DocumentWindow *window, QString *error)
{
    const QString absolute = QFileInfo(path).absoluteFilePath();
    for (DocumentWindow *existing : windows()) {
        if (DocumentTab *tab = existing->tabFor(absolute)) {
            existing->showTab(tab);
            return true;
        }
    }
    OpenDocument *document = OpenDocument::open(absolute, error);
    if (!document)
        return false;
    DocumentWindow *target = targetWindow(window);
    // A pristine untitled document gives way to the file the user opens.
    DocumentTab *current = target->currentTab();
    if (current && current->document()->isUntitled() && current->document()->canBeReplaced())
        target->replaceCurrent(document);
    else
        target->addDocument(document);
    Preferences::shared().noteRecentDocument(absolute);
    return true;
}

void Application::openFolder(const QString &path, DocumentWindow *window)
{
    // A window from the start, which the folder's first file then takes over.
    if (windows().isEmpty())
        newDocument();
    QPointer<DocumentWindow> target(window);
    FolderOpener::open(path, windows(), targetWindow(window), [this, target](const QString &file) {
        QString error;
        if (!openFile(file, target, &error))
            showOpenError(error, target);
    });
}

void Application::showOpenError(const QString &message, DocumentWindow *window)
{
    DocumentWindow *parent = window ? window : m_lastActive.get();
    WarningAlert::show(parent, tr("The document could not be opened."), message);
}

void Application::quit()
{
    for (DocumentWindow *window : windows()) {
        if (!window->close())
            return;
    }
    QApplication::quit();
}

} // namespace Lumo::App
