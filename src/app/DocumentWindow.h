#pragma once

#include <QMainWindow>

class DocumentTab;
class OutlinePopover;
class OpenDocument;
class QAction;
class QMenu;
class QTabWidget;

// A window of tabs, each holding one document, with the File and View menus and the
// toolbar acting on the current tab. Closing a tab or the window with unsaved edits
// asks first, once per document.
class DocumentWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit DocumentWindow(QWidget *parent = nullptr);

    static constexpr QSize minimumWindowSize{420, 320};
    static constexpr QSize firstWindowSize{920, 1040};

    // Adds a tab for the document, which the tab then owns, and shows it.
    DocumentTab *addDocument(OpenDocument *document);
    // Shows the document in the current tab in place of the one there.
    DocumentTab *replaceCurrent(OpenDocument *document);
    DocumentTab *currentTab() const;
    QList<DocumentTab *> tabs() const;
    // The tab showing the file, if any (paths compared with symlinks resolved).
    DocumentTab *tabFor(const QString &path) const;
    void showTab(DocumentTab *tab);

    // Closes every tab, asking about unsaved edits; false when the user cancelled.
    bool closeAllTabs();

Q_SIGNALS:
    // The user or the page asks to open files; the application decides where.
    void openFilesRequested(const QStringList &paths, DocumentWindow *window);
    void newWindowRequested();
    // The user chose a folder to browse.
    void openFolderRequested(const QString &path, DocumentWindow *window);
    void newDocumentRequested(DocumentWindow *window);
    void quitRequested();
    // A diagnostic hook asks to open a file and print how that went.
    void debugOpenRequested(const QString &path);
    void activated(DocumentWindow *window);

protected:
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void buildMenus();
    void updateRecentMenu();
    void updateForCurrentTab();
    // Names every tab anew: two files of the same name get their folders.
    void updateTabNames();
    bool closeTab(int index);
    bool confirmClose(DocumentTab *tab);
    bool save(DocumentTab *tab);
    bool saveAs(DocumentTab *tab);
    void revert(DocumentTab *tab);
    void exportHTML(DocumentTab *tab);
    void showOpenDialog();

    QTabWidget *m_tabs;
    QMenu *m_recentMenu = nullptr;
    QList<QAction *> m_documentActions;
    QAction *m_saveAction = nullptr;
    QAction *m_revertAction = nullptr;
    QAction *m_modeAction = nullptr;
    QAction *m_outlineAction = nullptr;
    QAction *m_sidebarAction = nullptr;
    OutlinePopover *m_outline = nullptr;
    QWidget *m_outlineAnchor = nullptr;
};
