#pragma once

#include "base/Brand.h"
#include "OpenDocument.h"
#include "OutlineItem.h"

#include <functional>
#include <optional>
#include <QElapsedTimer>
#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QWebEngineView>

class FileWatcher;
class PageRecovery;
class PreviewPage;
class RootResolver;

// Ties one open document to its reading page: renders the text 90 ms after the last
// change (never before the page is ready, never the same text twice), pushes the
// preferences, appearance and user stylesheet, keeps page and editor on the same
// source line, switches between reading and editing, and reloads after changes on
// disk. Other parts queue actions for the moment a file has rendered (whenReady).
//
// Main thread only. The controller owns its web view; the tab places it.
class DocumentController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(Mode mode READ mode NOTIFY modeChanged)
    Q_PROPERTY(bool showOutline READ showOutline WRITE setShowOutline NOTIFY showOutlineChanged)
    Q_PROPERTY(bool showFind READ showFind WRITE setShowFind NOTIFY showFindChanged)
    Q_PROPERTY(bool diskChangePending READ diskChangePending WRITE setDiskChangePending NOTIFY
                   diskChangePendingChanged)
    Q_PROPERTY(bool sidebarVisible READ sidebarVisible WRITE setSidebarVisible NOTIFY
                   sidebarVisibleChanged)
    Q_PROPERTY(QString sidebarRoot READ sidebarRoot NOTIFY sidebarRootChanged)
    Q_PROPERTY(int revealRequest READ revealRequest NOTIFY revealRequestChanged)
    Q_PROPERTY(
        bool showQuickOpen READ showQuickOpen WRITE setShowQuickOpen NOTIFY showQuickOpenChanged)
    Q_PROPERTY(bool showSearch READ showSearch WRITE setShowSearch NOTIFY showSearchChanged)

public:
    enum class Mode { Read, Edit };
    Q_ENUM(Mode)

    // The editor pane, as far as the controller needs it: its top source line, and
    // scrolling or placing the caret at a (fractional) line.
    struct Editor
    {
        std::function<double()> topLine;
        std::function<void(double)> scrollToLine;
        std::function<void(int)> placeCaretAtLine;
    };

    static constexpr int renderDelayMilliseconds = 90;
    // Longer texts are not sent to the page, whose renderer would run out of memory.
    static constexpr qsizetype largestPreview = 10'000'000;
    static constexpr int scrollQuietMilliseconds = 250;
    // How long a file emptied on disk may take to be written again before the
    // document shows it empty.
    static constexpr int emptyFileGraceMilliseconds = 500;

    explicit DocumentController(OpenDocument *document, bool startInEditMode,
                                QObject *parent = nullptr);
    ~DocumentController() override;

    // Every live controller, oldest first.
    static QList<DocumentController *> registry();

    OpenDocument *document() const { return m_document; }
    QWebEngineView *webView() const { return m_webView.get(); }
    PreviewPage *page() const;
    void setEditor(const Editor &editor) { m_editor = editor; }

    Mode mode() const { return m_mode; }
    QList<OutlineItem> outline() const { return m_outline; }
    bool showOutline() const { return m_showOutline; }
    void setShowOutline(bool show);
    bool showFind() const { return m_showFind; }
    void setShowFind(bool show);
    bool diskChangePending() const { return m_diskChangePending; }
    void setDiskChangePending(bool pending);
    bool sidebarVisible() const { return m_sidebarVisible; }
    void setSidebarVisible(bool visible);
    // Shows or hides the sidebar, and remembers the choice for new windows.
    void toggleSidebar();
    // The folder the sidebar shows; empty when the document belongs to none.
    QString sidebarRoot() const { return m_sidebarRoot; }
    // Finds the sidebar's folder anew, off the main thread; the latest request wins.
    void resolveSidebarRoot();
    int revealRequest() const { return m_revealRequest; }
    // Shows the sidebar and asks it to reveal the current file.
    void revealInSidebar();
    // Opens another file in place of this document, or in a new tab.
    void open(const QString &path, bool replacingCurrent);
    bool showQuickOpen() const { return m_showQuickOpen; }
    void setShowQuickOpen(bool show);
    bool showSearch() const { return m_showSearch; }
    void setShowSearch(bool show);
    // Brings a zero-based source line to the top of the page, and of the editor
    // while editing.
    void showLine(int line);

    // The document's file is there, but its changes on disk cannot be watched.
    bool isUnwatched() const;
    // Why the page does not show the document (too large, the page keeps failing);
    // empty when it does.
    QString previewProblem() const { return m_previewProblem; }

    bool isReady() const { return m_isReady; }
    qint64 renderRevision() const { return m_renderRevision; }
    qint64 completedRevision() const { return m_completedRevision; }
    double previewTopLine() const { return m_previewTopLine; }

    void scheduleRender(bool immediately = false);
    void render();
    void applyPrefs();
    void applyAppearance();
    void toggleMode();
    void editorDidScroll(double topLine);
    void scrollPreview(double line);
    void jump(const OutlineItem &item);
    // A step of the text size, or back to actual size without one.
    void zoom(std::optional<double> step);
    void reloadFromDisk(bool force);
    // Searches the page's text, ignoring case and wrapping around; an empty text does
    // nothing. findFinished reports the match now selected (from 1) and how many.
    void findInPreview(const QString &text, bool backwards);
    // Evaluates a script in the page; failures are printed as "Lumo JS error: ".
    void call(const QString &script);

    using Done = std::function<void(bool ok, const QString &error)>;
    // The page's local images as data URLs, keyed by their source in the page.
    void embeddedImages(std::function<void(const QJsonObject &images)> done);
    // Writes the document as a standalone HTML page.
    void writeHTML(const QString &path, Done done = {});
    // The file name without extension, or "Untitled".
    QString title() const;
    // Prints the page to a PDF in the appearance (dark pages painted edge to edge),
    // with bookmarks from the outline; the page returns to its own appearance after.
    void runPrint(const QString &path, Appearance appearance, Done done = {});
    // Puts the document on the clipboard as light, inline-styled HTML and plain text.
    void copyRichText(Done done = {});

    // Runs action once the file at path has been rendered (now, when it already has).
    static void whenReady(const QString &path, std::function<void()> action);
    void runPendingActions();

Q_SIGNALS:
    void modeChanged(DocumentController::Mode mode);
    void outlineChanged();
    void showOutlineChanged(bool show);
    void showFindChanged(bool show);
    void diskChangePendingChanged(bool pending);
    void sidebarVisibleChanged(bool visible);
    void sidebarRootChanged(const QString &root);
    void revealRequestChanged(int request);
    void showQuickOpenChanged(bool show);
    void showSearchChanged(bool show);
    void renderCompleted(qint64 revision);
    void findFinished(int activeMatch, int matches);
    void unwatchedChanged(bool unwatched);
    void previewProblemChanged(const QString &problem);
    // The page asks to open a Markdown file (a link in it was clicked).
    void openRequested(const QString &path);
    // A diagnostic hook asks to open a file and report how that went.
    void debugOpenRequested(const QString &path);
    // The sidebar or a diagnostic hook asks to show another file in place of this one.
    void replaceRequested(const QString &path);

private:
    // Sets a published flag and announces it, when it changes.
    void publish(bool &field, bool value, void (DocumentController::*changed)(bool))
    {
        if (field == value)
            return;
        field = value;
        Q_EMIT(this->*changed)(value);
    }
    void handleMessage(const QJsonObject &message);
    void handleDebugHook(const QString &name, const QString &argument);
    void pageBecameReady();
    void updatePreviewProblem();
    void toggleTask(int line, bool checked, qint64 revision);
    void watchFile();
    void reload(bool force, bool acceptEmpty);
    QString pathKey() const;
    // Lets the page load media from the document's folders.
    void allowAssets();

    QPointer<OpenDocument> m_document;
    QPointer<QWebEngineView> m_webView;
    FileWatcher *m_watcher = nullptr;
    PageRecovery *m_recovery = nullptr;
    QString m_previewProblem;
    Editor m_editor;
    QTimer m_renderTimer;
    QTimer m_emptyFileGrace;

    Mode m_mode;
    QList<OutlineItem> m_outline;
    bool m_showOutline = false;
    bool m_showFind = false;
    bool m_diskChangePending = false;
    bool m_sidebarVisible = false;
    RootResolver *m_rootResolver = nullptr;
    QString m_sidebarRoot;
    int m_revealRequest = 0;
    bool m_showQuickOpen = false;
    bool m_showSearch = false;

    bool m_isReady = false;
    bool m_pendingRender = false;
    std::optional<QString> m_lastRendered;
    std::optional<QString> m_lastRenderedBase;
    qint64 m_renderRevision = 0;
    qint64 m_completedRevision = -1;
    bool m_nextRenderIsExternal = false;
    std::optional<QString> m_appliedCSS;
    double m_previewTopLine = 0;
    QElapsedTimer m_lastEditorDrivenScroll;
    QElapsedTimer m_lastPreviewDrivenScroll;
};
