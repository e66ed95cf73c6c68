#pragma once

#include "OpenDocument.h"
#include "OutlineItem.h"
#include "PageConnection.h"

#include <functional>
#include <optional>
#include <QElapsedTimer>
#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <QTimer>

namespace Lumo::Workspace {
class RootResolver;
}

namespace Lumo::Document {

class FileWatcher;

// Ties one open document to its reading page: renders the text 90 ms after the last
// change (never before the page is ready, never the same text twice), pushes the
// preferences, appearance and user stylesheet, keeps page and editor on the same
// source line, switches between reading and editing, and reloads after changes on
// disk. Other parts queue actions for the moment a file has rendered (whenReady).
//
// Main thread only, and free of widgets: the page is reached through a
// PageConnection, which the tab (or a test) owns and injects.
class DocumentController final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DocumentController)
    Q_PROPERTY(Mode mode READ mode NOTIFY modeChanged)
    Q_PROPERTY(bool diskChangePending READ diskChangePending WRITE setDiskChangePending NOTIFY
                   diskChangePendingChanged)
    Q_PROPERTY(QString sidebarRoot READ sidebarRoot NOTIFY sidebarRootChanged)

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
    // How long actions wait (whenReady) for a file that no document shows yet.
    static constexpr int pendingActionLifetimeMilliseconds = 60'000;

    // Loads the page at once; the page must outlive the controller or be destroyed
    // with its owner.
    DocumentController(OpenDocument *document, PageConnection *page, bool startInEditMode,
                       QObject *parent = nullptr);
    ~DocumentController() override;

    // Every live controller, oldest first.
    static QList<DocumentController *> registry();

    OpenDocument *document() const { return m_document; }
    PageConnection *page() const { return m_page; }
    void setEditor(const Editor &editor) { m_editor = editor; }

    Mode mode() const { return m_mode; }
    QList<OutlineItem> outline() const { return m_outline; }
    bool diskChangePending() const { return m_diskChangePending; }
    void setDiskChangePending(bool pending);
    // The folder the sidebar shows; empty when the document belongs to none.
    QString sidebarRoot() const { return m_sidebarRoot; }
    // Finds the sidebar's folder anew, off the main thread; the latest request wins.
    void resolveSidebarRoot();
    // Opens another file in place of this document, or in a new tab.
    void open(const QString &path, bool replacingCurrent);
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
    // Evaluates a script in the page; failures are printed as "Lumo JS error: ".
    void call(const QString &script);
    void call(const QStringList &scripts);
    // The file name without extension, or "Untitled".
    QString title() const;

    // Runs action once the file at path has been rendered (now, when it already has).
    // Dropped when the file cannot be shown after all: its page gave up or the text
    // is too large, every tab showing it closed first, or none shows it within
    // pendingActionLifetimeMilliseconds.
    static void whenReady(const QString &path, std::function<void()> action);
    void runPendingActions();

Q_SIGNALS:
    void modeChanged(DocumentController::Mode mode);
    void outlineChanged();
    void diskChangePendingChanged(bool pending);
    void sidebarRootChanged(const QString &root);
    void renderCompleted(qint64 revision);
    void unwatchedChanged(bool unwatched);
    void previewProblemChanged(const QString &problem);
    // The page or the sidebar asks to open a Markdown file.
    void openRequested(const QString &path);
    // The sidebar or a diagnostic hook asks to show another file in place of this one.
    void replaceRequested(const QString &path);

private:
    void handleMessage(const QJsonObject &message);
    void pageBecameReady();
    void updatePreviewProblem();
    void toggleTask(int line, bool checked, qint64 revision);
    void watchFile();
    void reload(bool force, bool acceptEmpty);
    QString pathKey() const;
    // Drops the actions waiting for this controller's file when no other live
    // controller could still run them.
    void dropPendingActions();

    QPointer<OpenDocument> m_document;
    QPointer<PageConnection> m_page;
    FileWatcher *m_watcher = nullptr;
    QString m_previewProblem;
    Editor m_editor;
    QTimer m_renderTimer;
    QTimer m_emptyFileGrace;

    Mode m_mode;
    QList<OutlineItem> m_outline;
    bool m_diskChangePending = false;
    Lumo::Workspace::RootResolver *m_rootResolver = nullptr;
    QString m_sidebarRoot;

    bool m_isReady = false;
    bool m_pendingRender = false;
    std::optional<QString> m_lastRendered;
    std::optional<QString> m_lastRenderedBase;
    qint64 m_renderRevision = 0;
    qint64 m_completedRevision = -1;
    bool m_nextRenderIsExternal = false;
    std::optional<QString> m_appliedCSS;
    double m_previewTopLine = 0;
    // Where the page stood when the editor took over, and the editor's top once it
    // came to rest there: an editor left as it landed, text unchanged, hands the
    // page back its own place (near the text's end the editor stops short of it).
    double m_readingTopLine = 0;
    double m_editorLanding = -1;
    quint64 m_textChanges = 0;
    quint64 m_textChangesAtSwitch = 0;
    QElapsedTimer m_lastEditorDrivenScroll;
    QElapsedTimer m_lastPreviewDrivenScroll;
};

} // namespace Lumo::Document
