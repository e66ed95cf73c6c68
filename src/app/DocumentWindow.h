#pragma once

#include <QMainWindow>

namespace Lumo::Document {
class OutlinePopover;
class OpenDocument;
} // namespace Lumo::Document
class QAction;
class QKeySequence;
class QMenu;
class QTabWidget;

namespace Lumo::App {

class DocumentTab;

// A window of tabs, each holding one document. Its own commands (new, open, save,
// find, the mode, the outline, the sidebar, text size, tabs) are actions of the
// window named by their objectName ("save", "toggleMode", ...), and "openRecent"
// is its Open Recent menu; other subsystems add theirs, and WindowMenus lays all of
// them out. Closing a tab or the window with unsaved edits asks first, once per
// document.
class DocumentWindow final : public QMainWindow
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DocumentWindow)

public:
    explicit DocumentWindow(QWidget *parent = nullptr);

    static constexpr QSize minimumWindowSize{420, 320};
    static constexpr QSize firstWindowSize{920, 1040};

    // Adds a tab for the document, which the tab then owns, and shows it.
    DocumentTab *addDocument(Lumo::Document::OpenDocument *document);
    // Shows the document in the current tab in place of the one there.
    DocumentTab *replaceCurrent(Lumo::Document::OpenDocument *document);
    DocumentTab *currentTab() const;
    QList<DocumentTab *> tabs() const;
    // The tab showing the file, if any (paths compared with symlinks resolved).
    DocumentTab *tabFor(const QString &path) const;
    void showTab(DocumentTab *tab);

    // Closes every tab, asking about unsaved edits; false when the user cancelled.
    bool closeAllTabs();

    // Enables the command only while the window shows a document.
    void needsDocument(QAction *command);

Q_SIGNALS:
    // The user or the page asks to open files; the application decides where.
    void openFilesRequested(const QStringList &paths, DocumentWindow *window);
    void newWindowRequested();
    // The user chose a folder to browse.
    void openFolderRequested(const QString &path, DocumentWindow *window);
    void newDocumentRequested(DocumentWindow *window);
    void quitRequested();
    void activated(DocumentWindow *window);

protected:
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void createCommands();
    QAction *addCommand(const char *name, const QString &text, const QList<QKeySequence> &keys,
                        bool needsDocument = false);
    // The toolbar's outline button, which the outline opens below.
    QWidget *outlineAnchor();
    void updateRecentMenu();
    void updateForCurrentTab();
    // Names every tab anew: two files of the same name get their folders.
    void updateTabNames();
    bool closeTab(int index);
    bool confirmClose(DocumentTab *tab);
    bool save(DocumentTab *tab);
    bool saveAs(DocumentTab *tab);
    void revert(DocumentTab *tab);
    void showOpenDialog();

    QTabWidget *m_tabs;
    QMenu *m_recentMenu = nullptr;
    QList<QAction *> m_documentCommands;
    QAction *m_saveAction = nullptr;
    QAction *m_revertAction = nullptr;
    QAction *m_modeAction = nullptr;
    QAction *m_outlineAction = nullptr;
    QAction *m_sidebarAction = nullptr;
    Lumo::Document::OutlinePopover *m_outline = nullptr;
};

} // namespace Lumo::App
