#include "DocumentWindow.h"

#include "base/Brand.h"
#include "base/DebugHooks.h"
#include "base/MarkdownNames.h"
#include "base/PathKey.h"
#include "base/Preferences.h"
#include "base/SaveFolder.h"
#include "base/WarningAlert.h"
#include "DesktopCommands.h"
#include "document/CustomCSS.h"
#include "document/OutlinePopover.h"
#include "document/TabNames.h"
#include "DocumentTab.h"
#include "EditCommands.h"
#include "editor/FormatMenu.h"
#include "ExportCommands.h"
#include "FolderOpener.h"
#include "HelpMenu.h"
#include "ReaderPreferences.h"
#include "SearchCommands.h"
#include "SettingsWindow.h"
#include "WindowProbe.h"
#include "workspace/FolderOpening.h"
#include "WorkspaceCommands.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QTabBar>
#include <QTabWidget>
#include <QToolBar>

namespace {

// A checkable menu item that shows a yes-or-no preference and sets it.
QAction *addPreferenceToggle(QMenu *menu, const QString &text, bool (Preferences::*get)() const,
                             void (Preferences::*set)(bool), void (Preferences::*changed)())
{
    QAction *action = menu->addAction(text);
    action->setCheckable(true);
    action->setChecked((Preferences::shared().*get)());
    QObject::connect(action, &QAction::toggled, action,
                     [set](bool on) { (Preferences::shared().*set)(on); });
    QObject::connect(&Preferences::shared(), changed, action,
                     [action, get] { action->setChecked((Preferences::shared().*get)()); });
    return action;
}

} // namespace

DocumentWindow::DocumentWindow(QWidget *parent)
    : QMainWindow(parent)
    , m_tabs(new QTabWidget(this))
{
    setAttribute(Qt::WA_DeleteOnClose);
    m_tabs->setDocumentMode(true);
    m_tabs->setTabsClosable(true);
    m_tabs->setMovable(true);
    m_tabs->tabBar()->setAutoHide(true);
    m_tabs->tabBar()->setExpanding(false);
    setCentralWidget(m_tabs);
    connect(m_tabs, &QTabWidget::tabCloseRequested, this, &DocumentWindow::closeTab);
    connect(m_tabs, &QTabWidget::currentChanged, this, &DocumentWindow::updateForCurrentTab);
    connect(m_tabs, &QTabWidget::currentChanged, this, [this] {
        if (DocumentTab *tab = currentTab())
            tab->focusDocument(true);
    });

    setMinimumSize(minimumWindowSize);
    QSize size = firstWindowSize;
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableSize());
    resize(size.expandedTo(minimumWindowSize));

    QPalette tinted = palette();
    tinted.setColor(QPalette::Highlight, Brand::accent().current());
    setPalette(tinted);

    buildMenus();
    updateForCurrentTab();

    if (Preferences::shared().debugHooks())
        connect(&DebugHooks::shared(), &DebugHooks::posted, this, [this](const QString &name) {
            if (name == QLatin1String("lumoapp.debug.state"))
                WindowProbe::print(this);
        });
}

void DocumentWindow::buildMenus()
{
    QMenu *file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("&New"), QKeySequence::New, this,
                    [this] { Q_EMIT newDocumentRequested(this); });
    file->addAction(tr("New &Window"), QKeySequence(tr("Ctrl+Shift+N")), this,
                    [this] { Q_EMIT newWindowRequested(); });
    file->addAction(tr("&Open…"), QKeySequence::Open, this, &DocumentWindow::showOpenDialog);
    m_recentMenu = file->addMenu(tr("Open &Recent"));
    connect(m_recentMenu, &QMenu::aboutToShow, this, &DocumentWindow::updateRecentMenu);
    file->addSeparator();
    QAction *closeTabAction = file->addAction(tr("&Close Tab"), QKeySequence::Close, this,
                                              [this] { closeTab(m_tabs->currentIndex()); });
    m_saveAction =
        file->addAction(tr("&Save"), QKeySequence::Save, this, [this] { save(currentTab()); });
    QAction *saveAsAction = file->addAction(tr("Save &As…"), QKeySequence::SaveAs, this,
                                            [this] { saveAs(currentTab()); });
    m_revertAction =
        file->addAction(tr("Re&vert to Saved"), this, [this] { revert(currentTab()); });
    file->addSeparator();
    QAction *exportAction =
        file->addAction(tr("Export as &HTML…"), QKeySequence(tr("Ctrl+Alt+Shift+E")), this,
                        [this] { exportHTML(currentTab()); });
    file->addSeparator();
    file->addAction(tr("Close &Window"), QKeySequence(tr("Ctrl+Shift+W")), this, &QWidget::close);
    QAction *quit =
        file->addAction(tr("&Quit"), QKeySequence::Quit, this, [this] { Q_EMIT quitRequested(); });
    quit->setMenuRole(QAction::QuitRole);

    QMenu *edit = menuBar()->addMenu(tr("&Edit"));
    QAction *find = edit->addAction(tr("&Find…"), QKeySequence::Find, this, [this] {
        if (DocumentTab *tab = currentTab())
            tab->showFind();
    });
    QAction *findNext = edit->addAction(tr("Find &Next"), this, [this] {
        if (DocumentTab *tab = currentTab())
            tab->findNext(false);
    });
    findNext->setShortcuts({QKeySequence(Qt::Key_F3), QKeySequence(tr("Ctrl+G"))});
    QAction *findPrevious = edit->addAction(tr("Find &Previous"), this, [this] {
        if (DocumentTab *tab = currentTab())
            tab->findNext(true);
    });
    findPrevious->setShortcuts({QKeySequence(tr("Shift+F3")), QKeySequence(tr("Ctrl+Shift+G"))});
    edit->addSeparator();
    QAction *settings = edit->addAction(tr("&Settings…"), QKeySequence(tr("Ctrl+,")), this,
                                        &SettingsWindow::showShared);
    settings->setMenuRole(QAction::PreferencesRole);
    DesktopCommands::addTo(edit);

    m_modeAction = new QAction(tr("&Edit Document"), this);
    m_modeAction->setShortcut(QKeySequence(tr("Ctrl+E")));
    connect(m_modeAction, &QAction::triggered, this, [this] {
        if (DocumentTab *tab = currentTab())
            tab->controller()->toggleMode();
    });
    m_outlineAction =
        new QAction(QIcon::fromTheme(QStringLiteral("view-list-tree")), tr("Outline"), this);
    m_outlineAction->setShortcut(QKeySequence(tr("Ctrl+Shift+O")));
    m_outlineAction->setToolTip(tr("Outline (Ctrl+Shift+O)"));
    connect(m_outlineAction, &QAction::triggered, this, [this] {
        if (DocumentTab *tab = currentTab())
            tab->controller()->setShowOutline(!tab->controller()->showOutline());
    });
    const auto zoomAction = [this](const QString &text, std::optional<double> step) {
        auto *action = new QAction(text, this);
        connect(action, &QAction::triggered, this, [this, step] {
            if (DocumentTab *tab = currentTab())
                tab->controller()->zoom(step);
        });
        return action;
    };
    QAction *bigger = zoomAction(tr("&Bigger Text"), 0.1);
    bigger->setShortcuts({QKeySequence::ZoomIn, QKeySequence(tr("Ctrl+="))});
    QAction *smaller = zoomAction(tr("&Smaller Text"), -0.1);
    smaller->setShortcut(QKeySequence::ZoomOut);
    QAction *actual = zoomAction(tr("&Actual Size"), std::nullopt);
    actual->setShortcut(QKeySequence(tr("Ctrl+0")));

    m_sidebarAction = new QAction(tr("Show &Sidebar"), this);
    connect(m_sidebarAction, &QAction::triggered, this, [this] {
        if (DocumentTab *tab = currentTab())
            tab->controller()->toggleSidebar();
    });

    addFormatMenu(this, [this] { return currentTab() ? currentTab()->editor() : nullptr; });
    QMenu *view = menuBar()->addMenu(tr("&View"));
    view->addAction(m_modeAction);
    view->addAction(m_outlineAction);
    view->addAction(m_sidebarAction);
    QAction *followChanges =
        addPreferenceToggle(view, tr("&Follow Changes"), &Preferences::followChanges,
                            &Preferences::setFollowChanges, &Preferences::followChangesChanged);
    followChanges->setObjectName(QStringLiteral("followChanges"));
    followChanges->setShortcut(QKeySequence(tr("Ctrl+Alt+F")));
    view->addSeparator();
    QMenu *themes = view->addMenu(tr("&Theme"));
    auto *themeGroup = new QActionGroup(this);
    // A theme that names no case leaves every item unchecked.
    themeGroup->setExclusionPolicy(QActionGroup::ExclusionPolicy::ExclusiveOptional);
    for (const ReaderTheme::Case theme : ReaderTheme::allCases()) {
        QAction *item = themes->addAction(ReaderTheme::displayName(theme), this, [theme] {
            Preferences::shared().setTheme(ReaderTheme::rawValue(theme));
        });
        item->setCheckable(true);
        item->setData(ReaderTheme::rawValue(theme));
        themeGroup->addAction(item);
    }
    const auto checkTheme = [themeGroup] {
        const QString current = Preferences::shared().theme();
        for (QAction *item : themeGroup->actions())
            item->setChecked(item->data().toString() == current);
    };
    connect(&Preferences::shared(), &Preferences::themeChanged, this, checkTheme);
    checkTheme();
    QMenu *appearance = view->addMenu(tr("Appearan&ce"));
    auto *appearanceGroup = new QActionGroup(this);
    for (const auto &[value, text] : {std::pair{QStringLiteral("system"), tr("&System")},
                                      std::pair{QStringLiteral("light"), tr("&Light")},
                                      std::pair{QStringLiteral("dark"), tr("&Dark")}}) {
        QAction *item = appearance->addAction(
            text, this, [value] { Preferences::shared().setAppearance(value); });
        item->setCheckable(true);
        item->setData(value);
        appearanceGroup->addAction(item);
    }
    const auto checkAppearance = [appearanceGroup] {
        const QString current = Preferences::shared().appearance();
        for (QAction *item : appearanceGroup->actions())
            item->setChecked(item->data().toString() == current);
    };
    connect(&Preferences::shared(), &Preferences::valueChanged, this,
            [checkAppearance](const QString &key) {
                if (key == QLatin1String("appearance"))
                    checkAppearance();
            });
    checkAppearance();
    addPreferenceToggle(view, tr("Use Custom CSS"), &Preferences::useCustomCSS,
                        &Preferences::setUseCustomCSS, &Preferences::useCustomCSSChanged);
    view->addAction(tr("Edit Custom CSS…"), this,
                    [] { CustomCSS::shared().openForEditing(Preferences::shared()); });
    view->addSeparator();
    view->addAction(bigger);
    view->addAction(smaller);
    view->addAction(actual);
    view->addSeparator();
    const auto switchTab = [this](int step) {
        if (m_tabs->count() > 1)
            m_tabs->setCurrentIndex((m_tabs->currentIndex() + step + m_tabs->count()) %
                                    m_tabs->count());
    };
    QAction *nextTab = view->addAction(tr("Show &Next Tab"), this, [switchTab] { switchTab(1); });
    nextTab->setShortcuts({QKeySequence(tr("Ctrl+PgDown")), QKeySequence(tr("Ctrl+Tab"))});
    QAction *previousTab =
        view->addAction(tr("Show &Previous Tab"), this, [switchTab] { switchTab(-1); });
    previousTab->setShortcuts({QKeySequence(tr("Ctrl+PgUp")), QKeySequence(tr("Ctrl+Shift+Tab"))});

    m_documentActions = {closeTabAction, m_saveAction, saveAsAction,   m_revertAction, exportAction,
                         m_modeAction,   bigger,       smaller,        actual,         find,
                         findNext,       findPrevious, m_outlineAction};
    m_documentActions +=
        WorkspaceCommands::addTo(this, file, m_recentMenu->menuAction(), view, m_sidebarAction);
    m_documentActions +=
        SearchCommands::addTo(file, m_recentMenu->menuAction(), edit, findPrevious, this);
    m_documentActions += ExportCommands::addTo(this, file, exportAction, edit);
    EditCommands::addTo(edit, this);

    HelpMenu::addTo(this);

    QToolBar *toolbar = addToolBar(tr("Document"));
    toolbar->setObjectName(QStringLiteral("documentToolbar"));
    toolbar->setMovable(false);
    toolbar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    toolbar->addAction(m_outlineAction);
    toolbar->addAction(m_modeAction);
    m_outlineAnchor = toolbar->widgetForAction(m_outlineAction);
    m_outline = new OutlinePopover(this);
    connect(m_outline, &OutlinePopover::headingChosen, this, [this](const OutlineItem &item) {
        if (DocumentTab *tab = currentTab())
            tab->controller()->jump(item);
    });
    connect(m_outline, &OutlinePopover::closed, this, [this] {
        if (DocumentTab *tab = currentTab())
            tab->controller()->setShowOutline(false);
    });
}

void DocumentWindow::updateRecentMenu()
{
    m_recentMenu->clear();
    const QStringList recent = Preferences::shared().recentDocuments();
    for (const QString &path : recent) {
        QAction *action = m_recentMenu->addAction(QFileInfo(path).fileName(), this, [this, path] {
            Q_EMIT openFilesRequested({path}, this);
        });
        action->setToolTip(path);
        action->setStatusTip(path);
        if (FolderOpening::isFolder(path))
            action->setIcon(QIcon::fromTheme(QStringLiteral("folder")));
    }
    if (recent.isEmpty())
        m_recentMenu->addAction(tr("No Recent Documents"))->setEnabled(false);
    else {
        m_recentMenu->addSeparator();
        m_recentMenu->addAction(tr("Clear Menu"), this,
                                [] { Preferences::shared().setRecentDocuments({}); });
    }
}

DocumentTab *DocumentWindow::addDocument(OpenDocument *document)
{
    auto *tab = new DocumentTab(document, Preferences::shared().openInEditMode(), m_tabs);
    SearchCommands::attachPanels(tab);
    const auto refresh = [this, tab] {
        updateTabNames();
        if (tab == currentTab())
            updateForCurrentTab();
    };
    connect(document, &OpenDocument::modifiedChanged, tab, refresh);
    connect(document, &OpenDocument::pathChanged, tab, refresh);
    connect(tab->controller(), &DocumentController::modeChanged, this,
            &DocumentWindow::updateForCurrentTab);
    connect(tab->controller(), &DocumentController::showOutlineChanged, this,
            [this, tab](bool show) {
                if (tab != currentTab())
                    return;
                if (show) {
                    m_outline->setOutline(tab->controller()->outline());
                    m_outline->showBelow(m_outlineAnchor ? m_outlineAnchor : this);
                } else if (m_outline->isVisible()) {
                    m_outline->hide();
                }
            });
    connect(tab->controller(), &DocumentController::outlineChanged, this, [this, tab] {
        if (tab == currentTab() && m_outline->isVisible())
            m_outline->setOutline(tab->controller()->outline());
    });
    connect(tab, &DocumentTab::openRequested, this,
            [this](const QString &path) { Q_EMIT openFilesRequested({path}, this); });
    connect(tab->controller(), &DocumentController::debugOpenRequested, this,
            &DocumentWindow::debugOpenRequested);
    connect(tab->controller(), &DocumentController::replaceRequested, this,
            [this](const QString &path) {
                // Unsaved edits are never replaced away: the file opens beside them.
                const DocumentTab *current = currentTab();
                const OpenDocument *shown = current ? current->document() : nullptr;
                if (tabFor(path) || (shown && !shown->canBeReplaced())) {
                    Q_EMIT openFilesRequested({path}, this);
                    return;
                }
                QString error;
                if (OpenDocument *replacement = OpenDocument::open(path, &error))
                    replaceCurrent(replacement);
                else
                    WarningAlert::show(this, tr("The document could not be opened."), error);
            });

    m_tabs->addTab(tab, document->displayName());
    refresh();
    showTab(tab);
    return tab;
}

void DocumentWindow::updateTabNames()
{
    const QList<DocumentTab *> all = tabs();
    QStringList paths;
    for (const DocumentTab *tab : all)
        paths.append(tab->document()->isUntitled() ? QString() : tab->document()->path());
    const QStringList names = TabNames::of(paths, tr("Untitled"));
    for (int i = 0; i < all.size(); ++i) {
        const OpenDocument *document = all.at(i)->document();
        m_tabs->setTabText(i, names.at(i) +
                                  (document->isModified() ? QStringLiteral(" •") : QString()));
        m_tabs->setTabToolTip(i, document->path());
    }
}

DocumentTab *DocumentWindow::replaceCurrent(OpenDocument *document)
{
    const int index = m_tabs->currentIndex();
    DocumentTab *tab = addDocument(document);
    if (index >= 0) {
        m_tabs->tabBar()->moveTab(m_tabs->indexOf(tab), index);
        QWidget *old = m_tabs->widget(index + 1);
        m_tabs->removeTab(index + 1);
        old->deleteLater();
        updateTabNames();
    }
    showTab(tab);
    return tab;
}

DocumentTab *DocumentWindow::currentTab() const
{
    return qobject_cast<DocumentTab *>(m_tabs->currentWidget());
}

QList<DocumentTab *> DocumentWindow::tabs() const
{
    QList<DocumentTab *> all;
    for (int i = 0; i < m_tabs->count(); ++i)
        all.append(qobject_cast<DocumentTab *>(m_tabs->widget(i)));
    return all;
}

DocumentTab *DocumentWindow::tabFor(const QString &path) const
{
    const QString key = PathKey::resolved(path);
    for (DocumentTab *tab : tabs()) {
        if (!tab->document()->isUntitled() && PathKey::resolved(tab->document()->path()) == key)
            return tab;
    }
    return nullptr;
}

void DocumentWindow::showTab(DocumentTab *tab)
{
    if (tab == currentTab())
        tab->focusDocument(false);
    m_tabs->setCurrentWidget(tab);
    raise();
    activateWindow();
}

void DocumentWindow::updateForCurrentTab()
{
    DocumentTab *tab = currentTab();
    for (QAction *action : std::as_const(m_documentActions))
        action->setEnabled(tab != nullptr);
    if (!tab) {
        setWindowTitle(QStringLiteral("Lumo"));
        setWindowModified(false);
        return;
    }
    const OpenDocument *document = tab->document();
    setWindowTitle(document->displayName() + QStringLiteral("[*]"));
    setWindowFilePath(document->path());
    setWindowModified(document->isModified());
    m_revertAction->setEnabled(!document->isUntitled() && document->isModified());
    const bool editing = tab->controller()->mode() == DocumentController::Mode::Edit;
    m_modeAction->setText(editing ? tr("Back to Reading") : tr("&Edit Document"));
    // Ctrl+B is Bold while editing, so the sidebar moves aside then.
    m_sidebarAction->setShortcut(editing ? QKeySequence(tr("Ctrl+Alt+S"))
                                         : QKeySequence(tr("Ctrl+B")));
    m_modeAction->setToolTip(editing ? tr("Back to reading (Ctrl+E)") : tr("Edit (Ctrl+E)"));
    updateFormatMenu(this, editing);
}

bool DocumentWindow::confirmClose(DocumentTab *tab)
{
    const OpenDocument *document = tab->document();
    if (!document->isModified())
        return true;
    showTab(tab);
    QMessageBox box(
        QMessageBox::Warning, tr("Save changes?"),
        tr("Do you want to save the changes you made to “%1”?").arg(document->displayName()),
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setInformativeText(tr("Your changes will be lost if you don’t save them."));
    box.setDefaultButton(QMessageBox::Save);
    box.setWindowModality(Qt::WindowModal);
    switch (box.exec()) {
    case QMessageBox::Save:
        return save(tab);
    case QMessageBox::Discard:
        return true;
    default:
        return false;
    }
}

bool DocumentWindow::closeTab(int index)
{
    auto *tab = qobject_cast<DocumentTab *>(m_tabs->widget(index));
    if (!tab || !confirmClose(tab))
        return false;
    m_tabs->removeTab(m_tabs->indexOf(tab));
    tab->deleteLater();
    updateTabNames();
    if (m_tabs->count() == 0)
        close();
    return true;
}

bool DocumentWindow::closeAllTabs()
{
    for (DocumentTab *tab : tabs()) {
        if (!confirmClose(tab))
            return false;
    }
    for (DocumentTab *tab : tabs()) {
        m_tabs->removeTab(m_tabs->indexOf(tab));
        tab->deleteLater();
    }
    return true;
}

void DocumentWindow::closeEvent(QCloseEvent *event)
{
    if (closeAllTabs())
        event->accept();
    else
        event->ignore();
}

void DocumentWindow::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        Q_EMIT activated(this);
    // The accent follows light and dark.
    if (event->type() == QEvent::PaletteChange &&
        palette().color(QPalette::Highlight) != Brand::accent().current()) {
        QPalette tinted = palette();
        tinted.setColor(QPalette::Highlight, Brand::accent().current());
        setPalette(tinted);
    }
    QMainWindow::changeEvent(event);
}

bool DocumentWindow::save(DocumentTab *tab)
{
    if (!tab)
        return false;
    OpenDocument *document = tab->document();
    if (document->isUntitled())
        return saveAs(tab);
    QString error;
    if (!document->save(&error)) {
        WarningAlert::show(this, tr("The document could not be saved."), error);
        return false;
    }
    return true;
}

bool DocumentWindow::saveAs(DocumentTab *tab)
{
    if (!tab)
        return false;
    OpenDocument *document = tab->document();
    const QString folder = SaveFolder::proposedFor(document->path());
    const QString name =
        document->isUntitled() ? tr("Untitled.md") : QFileInfo(document->path()).fileName();
    QFileDialog dialog(this, tr("Save As"), folder + QLatin1Char('/') + name,
                       MarkdownNames::dialogFilter() + QStringLiteral(";;") + tr("Text (*.txt)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("md"));
    dialog.setWindowModality(Qt::WindowModal);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return false;
    QString error;
    if (!document->saveAs(dialog.selectedFiles().constFirst(), &error)) {
        WarningAlert::show(this, tr("The document could not be saved."), error);
        return false;
    }
    Preferences::shared().noteRecentDocument(document->path());
    return true;
}

void DocumentWindow::revert(DocumentTab *tab)
{
    if (!tab || tab->document()->isUntitled() || !tab->document()->isModified())
        return;
    QMessageBox box(QMessageBox::Warning, tr("Revert to Saved"),
                    tr("Discard your changes to “%1” and go back to the saved file?")
                        .arg(tab->document()->displayName()),
                    QMessageBox::Cancel, this);
    box.addButton(tr("Revert"), QMessageBox::DestructiveRole);
    box.setWindowModality(Qt::WindowModal);
    if (box.exec() == QMessageBox::Cancel)
        return;
    QString error;
    if (!tab->document()->revert(&error))
        WarningAlert::show(this, tr("The document could not be reverted."), error);
}

void DocumentWindow::exportHTML(DocumentTab *tab)
{
    if (!tab)
        return;
    const OpenDocument *document = tab->document();
    const QString folder = SaveFolder::proposedFor(document->path());
    auto *dialog = new QFileDialog(this, tr("Export as HTML"),
                                   folder + QLatin1Char('/') + tab->controller()->title() +
                                       QStringLiteral(".html"),
                                   tr("HTML page (*.html *.htm)"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QStringLiteral("html"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    QPointer<DocumentController> controller = tab->controller();
    connect(dialog, &QFileDialog::fileSelected, this, [this, controller](const QString &path) {
        if (!controller)
            return;
        controller->writeHTML(path, [this, path](bool ok, const QString &error) {
            if (!ok)
                WarningAlert::show(
                    this, tr("“%1” could not be exported.").arg(QFileInfo(path).fileName()), error);
        });
    });
    dialog->open();
}

void DocumentWindow::showOpenDialog()
{
    QFileDialog *dialog = FolderOpener::openDialog(this);
    if (const DocumentTab *tab = currentTab(); tab && !tab->document()->isUntitled())
        dialog->setDirectory(QFileInfo(tab->document()->path()).absolutePath());
    connect(dialog, &QFileDialog::filesSelected, this,
            [this](const QStringList &paths) { Q_EMIT openFilesRequested(paths, this); });
    dialog->open();
}
