#include "DocumentController.h"

#include "base/Brand.h"
#include "base/PathKey.h"
#include "base/Preferences.h"
#include "base/TextScale.h"
#include "CustomCSS.h"
#include "editor/MarkdownEditing.h"
#include "FileWatcher.h"
#include "OpenDocument.h"
#include "PageConnection.h"
#include "PageRecovery.h"
#include "PageScript.h"
#include "workspace/ReadState.h"
#include "workspace/RootResolver.h"
#include "workspace/Workspace.h"

#include <cmath>
#include <cstdio>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QUrl>

namespace Lumo::Document {

using Lumo::Base::Appearance;
using Lumo::Base::Preferences;
using Lumo::Workspace::ReadState;
using Lumo::Workspace::RootResolver;
namespace Brand = Lumo::Base::Brand;
namespace PathKey = Lumo::Base::PathKey;
namespace TextScale = Lumo::Base::TextScale;

namespace {

QList<DocumentController *> &liveControllers()
{
    static QList<DocumentController *> controllers;
    return controllers;
}

struct PendingActions
{
    QList<std::function<void()>> actions;
    // The request that last set the time-out: an older time-out leaves them be.
    quint64 request = 0;
};

QHash<QString, PendingActions> &pendingActions()
{
    static QHash<QString, PendingActions> actions;
    return actions;
}

bool elapsedMoreThan(const QElapsedTimer &timer, int milliseconds)
{
    return !timer.isValid() || timer.elapsed() > milliseconds;
}

} // namespace

DocumentController::DocumentController(OpenDocument *document, PageConnection *page,
                                       bool startInEditMode, QObject *parent)
    : QObject(parent)
    , m_document(document)
    , m_page(page)
    , m_mode(startInEditMode ? Mode::Edit : Mode::Read)
{
    m_renderTimer.setSingleShot(true);
    connect(&m_renderTimer, &QTimer::timeout, this, &DocumentController::render);
    m_emptyFileGrace.setSingleShot(true);
    m_emptyFileGrace.setInterval(emptyFileGraceMilliseconds);
    connect(&m_emptyFileGrace, &QTimer::timeout, this, [this] { reload(false, true); });
    liveControllers().append(this);

    connect(page, &PageConnection::messageReceived, this, &DocumentController::handleMessage);
    connect(page, &PageConnection::lost, this, [this] {
        // A new page starts empty and must say "ready" again.
        m_isReady = false;
        m_pendingRender = true;
    });
    connect(page, &PageConnection::gaveUp, this, &DocumentController::updatePreviewProblem);
    page->load();

    connect(&Preferences::shared(), &Preferences::valueChanged, this, [this](const QString &key) {
        static const QStringList styling{
            QStringLiteral("theme"), QStringLiteral("readerFont"), QStringLiteral("readingWidth"),
            QStringLiteral("textScale"), QStringLiteral("useCustomCSS")};
        if (styling.contains(key))
            applyPrefs();
        else if (key == QLatin1String("followChanges") && m_isReady)
            call(PageScript::setFollowChanges(Preferences::shared().followChanges()));
        // Images already fetched (or refused) go only with the page.
        if (key == QLatin1String("loadRemoteImages") && m_page) {
            m_isReady = false;
            m_pendingRender = true;
            m_page->load();
        }
    });
    connect(&CustomCSS::shared(), &CustomCSS::changed, this, &DocumentController::applyPrefs);

    if (m_document) {
        connect(m_document, &OpenDocument::textChanged, this, [this] {
            ++m_textChanges;
            scheduleRender();
        });
        // What the user saved is now what is on disk: nothing is left to decide.
        connect(m_document, &OpenDocument::saved, this, [this] { setDiskChangePending(false); });
        connect(m_document, &OpenDocument::pathChanged, this, [this] {
            watchFile();
            scheduleRender();
            resolveSidebarRoot();
        });
        watchFile();
    }

    m_rootResolver = new RootResolver(this);
    connect(m_rootResolver, &RootResolver::resolved, this, [this](const QString &root) {
        if (root == m_sidebarRoot)
            return;
        m_sidebarRoot = root;
        Q_EMIT sidebarRootChanged(root);
    });
    connect(&Preferences::shared(), &Preferences::workspaceFoldersChanged, this,
            &DocumentController::resolveSidebarRoot);
    resolveSidebarRoot();
}

DocumentController::~DocumentController()
{
    liveControllers().removeAll(this);
    dropPendingActions();
}

QList<DocumentController *> DocumentController::registry()
{
    return liveControllers();
}

void DocumentController::setDiskChangePending(bool pending)
{
    if (m_diskChangePending == pending)
        return;
    m_diskChangePending = pending;
    Q_EMIT diskChangePendingChanged(pending);
}

void DocumentController::resolveSidebarRoot()
{
    const bool onDisk = m_document && !m_document->isUntitled();
    m_rootResolver->resolve(onDisk ? m_document->path() : QString(),
                            Lumo::Workspace::Workspace::folders(Preferences::shared()));
}

void DocumentController::open(const QString &path, bool replacingCurrent)
{
    if (replacingCurrent)
        Q_EMIT replaceRequested(path);
    else
        Q_EMIT openRequested(path);
}

void DocumentController::showLine(int line)
{
    m_previewTopLine = line;
    scrollPreview(line);
    if (m_mode == Mode::Edit) {
        if (m_editor.placeCaretAtLine)
            m_editor.placeCaretAtLine(line);
        if (m_editor.scrollToLine)
            m_editor.scrollToLine(line);
    }
}

void DocumentController::call(const QString &script)
{
    if (m_page)
        m_page->call(script);
}

void DocumentController::call(const QStringList &scripts)
{
    for (const QString &script : scripts)
        call(script);
}

void DocumentController::scheduleRender(bool immediately)
{
    m_renderTimer.start(immediately ? 0 : renderDelayMilliseconds);
}

void DocumentController::render()
{
    m_renderTimer.stop();
    if (!m_isReady) {
        m_pendingRender = true;
        return;
    }
    const QString text = m_document ? m_document->text() : QString();
    updatePreviewProblem();
    if (text.size() > largestPreview)
        return;
    std::optional<QString> base;
    if (m_document && !m_document->isUntitled())
        base = QUrl::fromLocalFile(QFileInfo(m_document->path()).absolutePath() + QLatin1Char('/'))
                   .toString(QUrl::FullyEncoded);

    if (m_lastRendered == text && m_lastRenderedBase == base) {
        runPendingActions();
        return;
    }
    const bool diff = m_nextRenderIsExternal && m_lastRendered.has_value();
    m_nextRenderIsExternal = false;
    // The page holds the last text sent: an edit, or a file that grew, need only
    // send the run that changed, not quote and parse the whole text again.
    std::optional<TextSplice> splice;
    if (m_lastRendered && m_lastRenderedBase == base) {
        splice = TextSplice::between(*m_lastRendered, text);
        if (splice->inserted.size() > text.size() / 2)
            splice.reset();
    }
    const qint64 from = m_renderRevision;
    m_lastRendered = text;
    m_lastRenderedBase = base;
    ++m_renderRevision;
    if (m_document && !m_document->isUntitled())
        ReadState::shared().noteViewed(m_document->path());
    if (splice)
        call(PageScript::renderEdit(from, *splice, text.size(), base, diff, m_renderRevision));
    else
        call(PageScript::render(text, base, diff, m_renderRevision));
}

void DocumentController::applyPrefs()
{
    if (!m_isReady)
        return;
    const Preferences &prefs = Preferences::shared();
    call(PageScript::setPrefs(TextScale::stepped(prefs.textScale(), 0), prefs.readerFont(),
                              prefs.readingWidth(), prefs.theme()));
    const QString css = prefs.useCustomCSS() ? CustomCSS::shared().text() : QString();
    if (m_appliedCSS == css)
        return;
    m_appliedCSS = css;
    call(PageScript::setCustomCSS(css));
}

void DocumentController::applyAppearance()
{
    if (m_isReady)
        call(PageScript::setWindowAppearance(Brand::currentAppearance() == Appearance::Dark));
}

void DocumentController::updatePreviewProblem()
{
    QString problem;
    if (m_page && m_page->hasGivenUp())
        problem = tr("The preview stopped working: its process ended or did not answer %1 "
                     "times in a row. You can still edit and save this document.")
                      .arg(PageRecovery::attempts);
    else if (m_document && m_document->text().size() > largestPreview)
        problem = tr("This document is too large to preview: it has %L1 million characters, "
                     "the preview shows up to %L2 million. You can still edit and save it.")
                      .arg(double(m_document->text().size()) / 1e6, 0, 'f', 1)
                      .arg(largestPreview / 1'000'000);
    if (problem == m_previewProblem)
        return;
    m_previewProblem = problem;
    // Whatever waits for this file to render would wait forever.
    if (!problem.isEmpty())
        dropPendingActions();
    Q_EMIT previewProblemChanged(problem);
}

void DocumentController::pageBecameReady()
{
    m_isReady = true;
    // A freshly loaded page has none of what an earlier one was sent.
    m_lastRendered.reset();
    m_lastRenderedBase.reset();
    m_appliedCSS.reset();
    m_pendingRender = false;
    applyAppearance();
    applyPrefs();
    call(PageScript::setFollowChanges(Preferences::shared().followChanges()));
    render();
}

void DocumentController::handleMessage(const QJsonObject &message)
{
    const QString type = message.value(QLatin1String("type")).toString();
    if (type == QLatin1String("ready")) {
        pageBecameReady();
    } else if (type == QLatin1String("rendered")) {
        const QJsonValue revision = message.value(QLatin1String("rev"));
        if (!revision.isDouble())
            return;
        m_completedRevision = revision.toInteger();
        // A render reflows the page: keep it on the line the editor shows.
        if (m_mode == Mode::Edit && m_editor.topLine)
            scrollPreview(m_editor.topLine());
        Q_EMIT renderCompleted(m_completedRevision);
        runPendingActions();
    } else if (type == QLatin1String("resync")) {
        // The page lacks the text the newest edit was made against: send all of it.
        if (message.value(QLatin1String("rev")).toInteger(-1) != m_renderRevision)
            return;
        m_lastRendered.reset();
        render();
    } else if (type == QLatin1String("outline")) {
        m_outline = OutlineItem::fromMessage(message.value(QLatin1String("items")).toArray());
        Q_EMIT outlineChanged();
    } else if (type == QLatin1String("topLine")) {
        const QJsonValue line = message.value(QLatin1String("line"));
        if (!line.isDouble() || !std::isfinite(line.toDouble()))
            return;
        // While editing, the editor leads: the page moving by itself (layout settling
        // after a render, a find) must not drag the editor along.
        if (m_mode == Mode::Edit && !message.value(QLatin1String("user")).toBool(true))
            return;
        m_previewTopLine = line.toDouble();
        if (elapsedMoreThan(m_lastEditorDrivenScroll, scrollQuietMilliseconds)) {
            m_lastPreviewDrivenScroll.start();
            if (m_mode == Mode::Edit && m_editor.scrollToLine)
                m_editor.scrollToLine(m_previewTopLine);
        }
    } else if (type == QLatin1String("toggleTask")) {
        const QJsonValue line = message.value(QLatin1String("line"));
        const QJsonValue checked = message.value(QLatin1String("checked"));
        const QJsonValue revision = message.value(QLatin1String("rev"));
        if (line.isDouble() && checked.isBool() && revision.isDouble())
            toggleTask(line.toInt(-1), checked.toBool(), revision.toInteger());
    }
}

void DocumentController::toggleTask(int line, bool checked, qint64 revision)
{
    // A click on a page older than the text would tick the wrong line.
    if (revision != m_renderRevision || !m_document)
        return;
    if (const auto text =
            Lumo::Editor::MarkdownEditing::toggledTask(m_document->text(), line, checked)) {
        m_document->setText(*text);
        scheduleRender(true);
    }
}

void DocumentController::toggleMode()
{
    if (m_mode == Mode::Edit && m_editor.topLine) {
        const double editorTop = m_editor.topLine();
        const bool untouched =
            editorTop == m_editorLanding && m_textChanges == m_textChangesAtSwitch;
        m_previewTopLine = untouched ? m_readingTopLine : editorTop;
    }
    m_mode = m_mode == Mode::Edit ? Mode::Read : Mode::Edit;
    Q_EMIT modeChanged(m_mode);

    if (m_mode == Mode::Read) {
        scrollPreview(m_previewTopLine);
        return;
    }
    m_readingTopLine = m_previewTopLine;
    m_textChangesAtSwitch = m_textChanges;
    m_editorLanding = -1;
    const auto scrollEditor = [this] {
        if (std::isfinite(m_previewTopLine) && m_editor.scrollToLine)
            m_editor.scrollToLine(m_previewTopLine);
        if (m_editor.topLine)
            m_editorLanding = m_editor.topLine();
    };
    // The editor goes to the line before the caret does: a caret placed out of
    // view would scroll it, and the page with it, to elsewhere first.
    QTimer::singleShot(0, this, [this, scrollEditor] {
        if (!std::isfinite(m_previewTopLine))
            return;
        const int caret = static_cast<int>(std::floor(m_previewTopLine));
        scrollEditor();
        if (m_editor.placeCaretAtLine)
            m_editor.placeCaretAtLine(caret);
        // Once more after layout has settled.
        QTimer::singleShot(150, this, scrollEditor);
    });
}

void DocumentController::editorDidScroll(double topLine)
{
    m_previewTopLine = topLine;
    if (elapsedMoreThan(m_lastPreviewDrivenScroll, scrollQuietMilliseconds)) {
        m_lastEditorDrivenScroll.start();
        scrollPreview(topLine);
    }
}

void DocumentController::scrollPreview(double line)
{
    if (m_isReady)
        call(PageScript::scrollToLine(line));
}

void DocumentController::jump(const OutlineItem &item)
{
    call(PageScript::scrollToId(item.id));
    if (m_mode == Mode::Edit && item.line >= 0) {
        if (m_editor.placeCaretAtLine)
            m_editor.placeCaretAtLine(item.line);
        if (m_editor.scrollToLine)
            m_editor.scrollToLine(item.line);
    }
}

void DocumentController::zoom(std::optional<double> step)
{
    if (step)
        Preferences::shared().stepTextScale(*step);
    else
        Preferences::shared().resetTextScale();
}

void DocumentController::reloadFromDisk(bool force)
{
    reload(force, force);
}

void DocumentController::reload(bool force, bool acceptEmpty)
{
    if (!m_document || m_document->isUntitled())
        return;
    ReadState::shared().noteViewed(m_document->path());
    QString error;
    const auto contents = MarkdownDocument::read(m_document->path(), &error);
    if (!contents) {
        // Gone for now (the watcher reports its return) is no failure; there but
        // unreadable is.
        if (QFileInfo::exists(m_document->path())) {
            std::fprintf(stdout, "Lumo reload failed: %s\n", qUtf8Printable(error));
            std::fflush(stdout);
        }
        return;
    }
    // A program rewriting the file from the start (a log rotated, a report written
    // anew) empties it first: wait for what it writes next before showing nothing.
    m_emptyFileGrace.stop();
    if (contents->text.isEmpty() && !m_document->text().isEmpty() && !acceptEmpty) {
        m_emptyFileGrace.start();
        return;
    }
    if (contents->text == m_document->text()) {
        if (force)
            setDiskChangePending(false);
        return;
    }
    if (m_document->isModified() && !force) {
        setDiskChangePending(true);
        return;
    }
    m_nextRenderIsExternal = true;
    setDiskChangePending(false);
    m_document->revertTo(*contents);
    // The watcher has already let the burst of writes settle: no need to wait again.
    scheduleRender(true);
}

QString DocumentController::pathKey() const
{
    return m_document && !m_document->isUntitled() ? PathKey::resolved(m_document->path())
                                                   : QString();
}

bool DocumentController::isUnwatched() const
{
    return m_watcher && m_watcher->isBlocked();
}

void DocumentController::watchFile()
{
    if (!m_watcher) {
        m_watcher = new FileWatcher([this] { reloadFromDisk(false); }, this);
        connect(m_watcher, &FileWatcher::blockedChanged, this,
                &DocumentController::unwatchedChanged);
    }
    m_watcher->watch(m_document ? m_document->path() : QString());
}

void DocumentController::whenReady(const QString &path, std::function<void()> action)
{
    const QString key = PathKey::resolved(path);
    for (DocumentController *controller : std::as_const(liveControllers())) {
        if (controller->pathKey() != key)
            continue;
        if (controller->m_isReady && controller->m_lastRendered &&
            controller->m_completedRevision == controller->m_renderRevision) {
            action();
            return;
        }
        break;
    }
    static quint64 requests = 0;
    PendingActions &pending = pendingActions()[key];
    pending.actions.append(std::move(action));
    pending.request = ++requests;
    QTimer::singleShot(pendingActionLifetimeMilliseconds, QCoreApplication::instance(),
                       [key, request = pending.request] {
                           const auto found = pendingActions().constFind(key);
                           if (found == pendingActions().cend() || found->request != request)
                               return;
                           // A file still loading in a tab keeps them until it renders
                           // or cannot.
                           for (const DocumentController *controller : liveControllers()) {
                               if (controller->pathKey() == key)
                                   return;
                           }
                           pendingActions().remove(key);
                       });
}

void DocumentController::runPendingActions()
{
    const QString key = pathKey();
    if (key.isEmpty() || !m_isReady || !m_lastRendered || m_completedRevision != m_renderRevision)
        return;
    const QList<std::function<void()>> actions = pendingActions().take(key).actions;
    for (const auto &action : actions)
        QMetaObject::invokeMethod(QCoreApplication::instance(), action, Qt::QueuedConnection);
}

void DocumentController::dropPendingActions()
{
    const QString key = pathKey();
    if (key.isEmpty())
        return;
    for (const DocumentController *controller : std::as_const(liveControllers())) {
        if (controller != this && controller->pathKey() == key &&
            controller->m_previewProblem.isEmpty())
            return;
    }
    pendingActions().remove(key);
}

QString DocumentController::title() const
{
    if (!m_document || m_document->isUntitled())
        return QCoreApplication::translate("DocumentController", "Untitled");
    return QFileInfo(m_document->path()).completeBaseName();
}

} // namespace Lumo::Document
