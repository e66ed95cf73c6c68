#include "DocumentController.h"

#include "AssetPolicy.h"
#include "base/Background.h"
#include "base/Brand.h"
#include "base/DebugHooks.h"
#include "base/PathKey.h"
#include "base/Preferences.h"
#include "base/TextScale.h"
#include "CustomCSS.h"
#include "editor/MarkdownEditing.h"
#include "FileWatcher.h"
#include "HTMLExporter.h"
#include "LinkPolicy.h"
#include "LocalAssetHandler.h"
#include "OpenDocument.h"
#include "PageAccessibleName.h"
#include "PageActions.h"
#include "PageRecovery.h"
#include "PageScript.h"
#include "PDFPrint.h"
#include "PreviewPage.h"
#include "RichText.h"
#include "workspace/ReadState.h"
#include "workspace/RootResolver.h"
#include "workspace/Workspace.h"

#include <cmath>
#include <cstdio>
#include <QClipboard>
#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QUrl>
#include <QWebEngineFindTextResult>
#include <QWebEngineSettings>
#include <QWebEngineView>

namespace {

QList<DocumentController *> &liveControllers()
{
    static QList<DocumentController *> controllers;
    return controllers;
}

QHash<QString, QList<std::function<void()>>> &pendingActions()
{
    static QHash<QString, QList<std::function<void()>>> actions;
    return actions;
}

bool elapsedMoreThan(const QElapsedTimer &timer, int milliseconds)
{
    return !timer.isValid() || timer.elapsed() > milliseconds;
}

// Follows the desktop's light or dark switch, which reaches widgets as a palette change.
class AppearanceWatcher : public QObject
{
public:
    AppearanceWatcher(DocumentController *controller, QObject *watched)
        : QObject(controller)
        , m_controller(controller)
    {
        watched->installEventFilter(this);
    }

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::PaletteChange)
            m_controller->applyAppearance();
        return false;
    }

private:
    DocumentController *m_controller;
};

} // namespace

DocumentController::DocumentController(OpenDocument *document, bool startInEditMode,
                                       QObject *parent)
    : QObject(parent)
    , m_document(document)
    , m_webView(new QWebEngineView(qobject_cast<QWidget *>(parent)))
    , m_mode(startInEditMode ? Mode::Edit : Mode::Read)
    , m_sidebarVisible(Preferences::shared().showSidebar())
{
    m_renderTimer.setSingleShot(true);
    connect(&m_renderTimer, &QTimer::timeout, this, &DocumentController::render);
    m_emptyFileGrace.setSingleShot(true);
    m_emptyFileGrace.setInterval(emptyFileGraceMilliseconds);
    connect(&m_emptyFileGrace, &QTimer::timeout, this, [this] { reload(false, true); });

    auto *page = new PreviewPage(m_webView);
    QWebEngineSettings *settings = page->settings();
    settings->setAttribute(QWebEngineSettings::FullScreenSupportEnabled, false);
    settings->setAttribute(QWebEngineSettings::PrintElementBackgrounds, true);
    settings->setAttribute(QWebEngineSettings::JavascriptCanOpenWindows, false);
    settings->setAttribute(QWebEngineSettings::JavascriptCanAccessClipboard, false);
    m_webView->setPage(page);
    m_webView->setContextMenuPolicy(Qt::NoContextMenu);
    new PageAccessibleName(m_webView, tr("Document"));
    new AppearanceWatcher(this, m_webView);
    liveControllers().append(this);

    connect(page, &PreviewPage::messageReceived, this, &DocumentController::handleMessage);
    connect(page, &PreviewPage::linkClicked, this, [this](const QUrl &url) {
        LinkPolicy::open(url, m_webView->window(),
                         [this](const QString &path) { Q_EMIT openRequested(path); });
    });
    m_recovery = new PageRecovery(page, this);
    connect(m_recovery, &PageRecovery::pageLost, this, [this] {
        // A new page starts empty and must say "ready" again.
        m_isReady = false;
        m_pendingRender = true;
    });
    connect(m_recovery, &PageRecovery::gaveUp, this, &DocumentController::updatePreviewProblem);
    m_recovery->load();

    connect(&Preferences::shared(), &Preferences::valueChanged, this, [this](const QString &key) {
        static const QStringList styling{
            QStringLiteral("theme"), QStringLiteral("readerFont"), QStringLiteral("readingWidth"),
            QStringLiteral("textScale"), QStringLiteral("useCustomCSS")};
        if (styling.contains(key))
            applyPrefs();
        else if (key == QLatin1String("followChanges") && m_isReady)
            call(PageScript::setFollowChanges(Preferences::shared().followChanges()));
        // Images already fetched (or refused) go only with the page.
        if (key == QLatin1String("loadRemoteImages") && this->page()) {
            m_isReady = false;
            m_pendingRender = true;
            this->page()->loadIndex();
        }
    });
    connect(&CustomCSS::shared(), &CustomCSS::changed, this, &DocumentController::applyPrefs);

    if (Preferences::shared().debugHooks())
        connect(&DebugHooks::shared(), &DebugHooks::posted, this,
                &DocumentController::handleDebugHook);

    if (m_document) {
        connect(m_document, &OpenDocument::textChanged, this, [this] { scheduleRender(); });
        // What the user saved is now what is on disk: nothing is left to decide.
        connect(m_document, &OpenDocument::saved, this, [this] { setDiskChangePending(false); });
        connect(m_document, &OpenDocument::pathChanged, this, [this] {
            allowAssets();
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
        allowAssets();
        Q_EMIT sidebarRootChanged(root);
    });
    connect(&Preferences::shared(), &Preferences::workspaceFoldersChanged, this,
            &DocumentController::resolveSidebarRoot);
    resolveSidebarRoot();
    allowAssets();
}

DocumentController::~DocumentController()
{
    liveControllers().removeAll(this);
    delete m_webView.get();
}

QList<DocumentController *> DocumentController::registry()
{
    return liveControllers();
}

PreviewPage *DocumentController::page() const
{
    return m_webView ? static_cast<PreviewPage *>(m_webView->page()) : nullptr;
}

void DocumentController::setShowOutline(bool show)
{
    publish(m_showOutline, show, &DocumentController::showOutlineChanged);
}

void DocumentController::setShowFind(bool show)
{
    publish(m_showFind, show, &DocumentController::showFindChanged);
}

void DocumentController::setDiskChangePending(bool pending)
{
    publish(m_diskChangePending, pending, &DocumentController::diskChangePendingChanged);
}

void DocumentController::setSidebarVisible(bool visible)
{
    publish(m_sidebarVisible, visible, &DocumentController::sidebarVisibleChanged);
}

void DocumentController::toggleSidebar()
{
    setSidebarVisible(!m_sidebarVisible);
    Preferences::shared().setShowSidebar(m_sidebarVisible);
}

void DocumentController::resolveSidebarRoot()
{
    const bool onDisk = m_document && !m_document->isUntitled();
    m_rootResolver->resolve(onDisk ? m_document->path() : QString(),
                            Workspace::folders(Preferences::shared()));
}

void DocumentController::revealInSidebar()
{
    setSidebarVisible(true);
    ++m_revealRequest;
    Q_EMIT revealRequestChanged(m_revealRequest);
}

void DocumentController::setShowQuickOpen(bool show)
{
    publish(m_showQuickOpen, show, &DocumentController::showQuickOpenChanged);
}

void DocumentController::setShowSearch(bool show)
{
    publish(m_showSearch, show, &DocumentController::showSearchChanged);
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
    if (PreviewPage *preview = page())
        preview->call(script);
}

void DocumentController::findInPreview(const QString &text, bool backwards)
{
    if (text.isEmpty() || !page())
        return;
    QPointer<DocumentController> self(this);
    page()->findText(text, backwards ? QWebEnginePage::FindBackward : QWebEnginePage::FindFlags(),
                     [self](const QWebEngineFindTextResult &result) {
                         if (self)
                             Q_EMIT self->findFinished(result.activeMatch(),
                                                       result.numberOfMatches());
                     });
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
    call(splice ? PageScript::renderEdit(from, *splice, text.size(), base, diff, m_renderRevision)
                : PageScript::render(text, base, diff, m_renderRevision));
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
    if (m_recovery->hasGivenUp())
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
    Q_EMIT previewProblemChanged(problem);
}

void DocumentController::pageBecameReady()
{
    m_recovery->pageBecameReady();
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
    const auto string = [&message](const char *key) {
        return message.value(QLatin1String(key)).toString();
    };
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
        m_recovery->pageRendered();
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
    } else if (type == QLatin1String("copyImage")) {
        PageActions::copyImage(string("dataURL"));
    } else if (type == QLatin1String("saveSVG")) {
        PageActions::saveSVG(string("svg"), string("name"),
                             m_document ? m_document->path() : QString(), m_webView->window());
    } else if (type == QLatin1String("copy")) {
        PageActions::copyText(string("text"));
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
    if (const auto text = MarkdownEditing::toggledTask(m_document->text(), line, checked)) {
        m_document->setText(*text);
        scheduleRender(true);
    }
}

void DocumentController::toggleMode()
{
    if (m_mode == Mode::Edit && m_editor.topLine)
        m_previewTopLine = m_editor.topLine();
    m_mode = m_mode == Mode::Edit ? Mode::Read : Mode::Edit;
    Q_EMIT modeChanged(m_mode);

    if (m_mode == Mode::Read) {
        scrollPreview(m_previewTopLine);
        return;
    }
    const auto scrollEditor = [this] {
        if (std::isfinite(m_previewTopLine) && m_editor.scrollToLine)
            m_editor.scrollToLine(m_previewTopLine);
    };
    QTimer::singleShot(0, this, [this, scrollEditor] {
        if (!std::isfinite(m_previewTopLine))
            return;
        if (m_editor.placeCaretAtLine)
            m_editor.placeCaretAtLine(static_cast<int>(std::floor(m_previewTopLine)));
        scrollEditor();
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

void DocumentController::allowAssets()
{
    LocalAssetHandler::allow(this, m_document ? m_document->path() : QString(), m_sidebarRoot);
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
    pendingActions()[key].append(std::move(action));
}

void DocumentController::runPendingActions()
{
    const QString key = pathKey();
    if (key.isEmpty() || !m_isReady || !m_lastRendered || m_completedRevision != m_renderRevision)
        return;
    const QList<std::function<void()>> actions = pendingActions().take(key);
    for (const auto &action : actions)
        QMetaObject::invokeMethod(QCoreApplication::instance(), action, Qt::QueuedConnection);
}

QString DocumentController::title() const
{
    if (!m_document || m_document->isUntitled())
        return QCoreApplication::translate("DocumentController", "Untitled");
    return QFileInfo(m_document->path()).completeBaseName();
}

void DocumentController::embeddedImages(std::function<void(const QJsonObject &)> done)
{
    const QString documentPath = m_document ? m_document->path() : QString();
    const QString folder = m_sidebarRoot;
    page()->callAwaited(
        QStringLiteral("localImages"), QString(),
        [self = QPointer(this), done, documentPath, folder](const QJsonValue &value,
                                                            const QString &) {
            if (!self)
                return;
            QStringList sources;
            for (const QJsonValue &entry : value.toArray())
                sources.append(entry.toString());
            // Off the GUI thread: a file may sit on a slow disk.
            runInBackground(
                self.data(),
                [sources, documentPath, folder] {
                    const QStringList roots = AssetPolicy::roots(documentPath, folder);
                    QJsonObject images;
                    for (const QString &source : sources) {
                        const auto path = AssetPolicy::requestedPath(QUrl(source));
                        const auto result =
                            path ? AssetPolicy::read(*path, roots, AssetPolicy::embedLimit)
                                 : AssetPolicy::Refusal{QStringLiteral("not a media file")};
                        if (const auto *asset = std::get_if<AssetPolicy::Asset>(&result)) {
                            images.insert(source, AssetPolicy::dataUrl(*asset));
                            continue;
                        }
                        // Said, so that an export that keeps a plain link is explained.
                        std::fprintf(stderr, "Lumo: not embedded: %s: %s\n", qUtf8Printable(source),
                                     qUtf8Printable(std::get<AssetPolicy::Refusal>(result).reason));
                    }
                    return images;
                },
                done);
        });
}

void DocumentController::writeHTML(const QString &path, Done done)
{
    QPointer<DocumentController> self(this);
    embeddedImages([self, path, done](const QJsonObject &images) {
        if (!self)
            return;
        const QString argument =
            QString::fromUtf8(QJsonDocument(images).toJson(QJsonDocument::Compact));
        self->page()->callAwaited(
            QStringLiteral("exportHTML"), argument,
            [self, path, done](const QJsonValue &answer, const QString &error) {
                if (!self)
                    return;
                if (!answer.isObject()) {
                    if (done)
                        done(false,
                             error.isEmpty() ? QStringLiteral("the page gave no export") : error);
                    return;
                }
                const Preferences &prefs = Preferences::shared();
                const std::optional<QString> css =
                    prefs.useCustomCSS() ? std::optional<QString>(CustomCSS::shared().text())
                                         : std::nullopt;
                const QByteArray html =
                    HTMLExporter::document(answer.toObject(), self->title(), css).toUtf8();
                QSaveFile file(path);
                const bool ok = file.open(QIODevice::WriteOnly) &&
                                file.write(html) == html.size() && file.commit();
                if (done)
                    done(ok, ok ? QString() : file.errorString());
            });
    });
}

void DocumentController::handleDebugHook(const QString &name, const QString &argument)
{
    if (name == QLatin1String("lumoapp.debug.toggleMode")) {
        toggleMode();
    } else if (name == QLatin1String("lumoapp.debug.exportHTML") && !argument.isEmpty()) {
        writeHTML(argument, [argument](bool ok, const QString &error) {
            if (!ok)
                std::fprintf(stdout, "Lumo export failed: %s: %s\n", qUtf8Printable(argument),
                             qUtf8Printable(error));
            std::fflush(stdout);
        });
    } else if (name == QLatin1String("lumoapp.debug.js") && !argument.isEmpty()) {
        call(argument);
    } else if (name == QLatin1String("lumoapp.debug.openURL") && !argument.isEmpty()) {
        Q_EMIT debugOpenRequested(argument);
    } else if (name == QLatin1String("lumoapp.debug.openFile") && !argument.isEmpty()) {
        Q_EMIT replaceRequested(argument);
    } else if (name == QLatin1String("lumoapp.debug.quickOpen")) {
        setShowQuickOpen(true);
    } else if (name == QLatin1String("lumoapp.debug.search")) {
        setShowSearch(true);
    } else if (name == QLatin1String("lumoapp.debug.exportPDF")) {
        // "path|appearance", split once; anything but two pieces asks for nothing.
        const qsizetype bar = argument.indexOf(QLatin1Char('|'));
        QStringList pieces{argument.left(bar), argument.mid(bar + 1)};
        pieces.removeAll(QString());
        if (bar < 0 || pieces.size() != 2)
            return;
        const Appearance appearance =
            pieces.at(1).contains(QLatin1String("dark"), Qt::CaseInsensitive) ? Appearance::Dark
                                                                              : Appearance::Light;
        const QString path = pieces.at(0);
        runPrint(path, appearance, [path](bool ok, const QString &error) {
            if (!ok)
                std::fprintf(stdout, "Lumo export failed: %s: %s\n", qUtf8Printable(path),
                             qUtf8Printable(error));
            std::fflush(stdout);
        });
    } else if (name == QLatin1String("lumoapp.debug.copyRich")) {
        copyRichText();
    }
}

void DocumentController::runPrint(const QString &path, Appearance appearance, Done done)
{
    if (!page() || !m_isReady) {
        if (done)
            done(false, QStringLiteral("the page is not ready yet"));
        return;
    }
    // The PDF takes the page's title as its own.
    call(QStringLiteral("document.title = ") + PageScript::json(title()));
    PDFPrint::toFile(page(), path, appearance, [done](bool ok, const QString &error) {
        if (done)
            done(ok, error);
    });
}

void DocumentController::copyRichText(Done done)
{
    if (!page() || !m_isReady) {
        if (done)
            done(false, QStringLiteral("the page is not ready yet"));
        return;
    }
    QPointer<DocumentController> self(this);
    embeddedImages([self, done](const QJsonObject &images) {
        if (!self)
            return;
        const QString argument =
            QString::fromUtf8(QJsonDocument(images).toJson(QJsonDocument::Compact));
        self->page()->callAwaited(
            QStringLiteral("richHTML"), argument,
            [done](const QJsonValue &html, const QString &error) {
                if (!html.isString()) {
                    if (done)
                        done(false,
                             error.isEmpty() ? QStringLiteral("the page gave no text") : error);
                    return;
                }
                QGuiApplication::clipboard()->setMimeData(RichText::mimeData(html.toString()));
                if (done)
                    done(true, QString());
            });
    });
}
