#include "DocumentWindow.h"

#include "base/Brand.h"
#include "base/MarkdownNames.h"
#include "base/PathKey.h"
#include "base/Preferences.h"
#include "base/SaveFolder.h"
#include "base/WarningAlert.h"
#include "document/OutlinePopover.h"
#include "document/TabNames.h"
#include "document/TabPanels.h"
#include "DocumentTab.h"
#include "editor/FormatMenu.h"
#include "FolderOpener.h"
#include "SearchCommands.h"
#include "workspace/FolderOpenRules.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>
#include <QScreen>
#include <QTabBar>
#include <QTabWidget>
#include <QToolBar>

namespace Lumo::App {

using Lumo::Base::Preferences;
using Lumo::Document::DocumentController;
using Lumo::Document::OpenDocument;
using Lumo::Document::OutlineItem;
using Lumo::Document::OutlinePopover;
using Lumo::Document::TabPanels;
namespace Brand = Lumo::Base::Brand;
namespace FolderOpenRules = Lumo::Workspace::FolderOpenRules;
namespace MarkdownNames = Lumo::Base::MarkdownNames;
namespace PathKey = Lumo::Base::PathKey;
namespace SaveFolder = Lumo::Base::SaveFolder;
namespace TabNames = Lumo::Document::TabNames;
namespace WarningAlert = Lumo::Base::WarningAlert;

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

    createCommands();
    updateForCurrentTab();
}

void DocumentWindow::needsDocument(QAction *command)
{
    m_documentCommands.append(command);
    command->setEnabled(currentTab() != nullptr);
}

QAction *DocumentWindow::addCommand(const char *name, const QString &text,
                                    const QList<QKeySequence> &keys, bool needsDocument)
{
    auto *command = new QAction(text, this);
    command->setObjectName(QLatin1String(name));
    command->setShortcuts(keys);
    if (needsDocument)
        this->needsDocument(command);
    return command;
}

void DocumentWindow::createCommands()
{
    const auto onTab = [this](void (*act)(DocumentTab *)) {
        return [this, act] {
            if (DocumentTab *tab = currentTab())
                act(tab);
        };
    };
    connect(addCommand("new", tr("&New"), {QKeySequence::New}), &QAction::triggered, this,
            [this] { Q_EMIT newDocumentRequested(this); });
    connect(addCommand("newWindow", tr("New &Window"), {QKeySequence(tr("Ctrl+Shift+N"))}),
            &QAction::triggered, this, [this] { Q_EMIT newWindowRequested(); });
    connect(addCommand("open", tr("&Open…"), {QKeySequence::Open}), &QAction::triggered, this,
            &DocumentWindow::showOpenDialog);
    m_recentMenu = new QMenu(tr("Open &Recent"), this);
    m_recentMenu->setObjectName(QStringLiteral("openRecent"));
    connect(m_recentMenu, &QMenu::aboutToShow, this, &DocumentWindow::updateRecentMenu);
    connect(addCommand("closeTab", tr("&Close Tab"), {QKeySequence::Close}, true),
            &QAction::triggered, this, [this] { closeTab(m_tabs->currentIndex()); });
    m_saveAction = addCommand("save", tr("&Save"), {QKeySequence::Save}, true);
    connect(m_saveAction, &QAction::triggered, this, [this] { save(currentTab()); });
    connect(addCommand("saveAs", tr("Save &As…"), {QKeySequence::SaveAs}, true),
            &QAction::triggered, this, [this] { saveAs(currentTab()); });
    m_revertAction = addCommand("revert", tr("Re&vert to Saved"), {}, true);
    connect(m_revertAction, &QAction::triggered, this, [this] { revert(currentTab()); });
    connect(addCommand("closeWindow", tr("Clos&e Window"), {QKeySequence(tr("Ctrl+Shift+W"))}),
            &QAction::triggered, this, &QWidget::close);
    QAction *quit = addCommand("quit", tr("&Quit"), {QKeySequence::Quit});
    quit->setMenuRole(QAction::QuitRole);
    connect(quit, &QAction::triggered, this, [this] { Q_EMIT quitRequested(); });

    connect(addCommand("find", tr("&Find…"), {QKeySequence::Find}, true), &QAction::triggered, this,
            onTab([](DocumentTab *tab) { tab->showFind(); }));
    connect(addCommand("findNext", tr("Find &Next"),
                       {QKeySequence(Qt::Key_F3), QKeySequence(tr("Ctrl+G"))}, true),
            &QAction::triggered, this, onTab([](DocumentTab *tab) { tab->findNext(false); }));
    connect(addCommand("findPrevious", tr("Find Pre&vious"),
                       {QKeySequence(tr("Shift+F3")), QKeySequence(tr("Ctrl+Shift+G"))}, true),
            &QAction::triggered, this, onTab([](DocumentTab *tab) { tab->findNext(true); }));

    m_modeAction =
        addCommand("toggleMode", tr("&Edit Document"), {QKeySequence(tr("Ctrl+E"))}, true);
    connect(m_modeAction, &QAction::triggered, this,
            onTab([](DocumentTab *tab) { tab->controller()->toggleMode(); }));
    m_outlineAction =
        addCommand("outline", tr("Outline"), {QKeySequence(tr("Ctrl+Shift+O"))}, true);
    m_outlineAction->setIcon(QIcon::fromTheme(QStringLiteral("view-list-tree")));
    m_outlineAction->setToolTip(tr("Outline (Ctrl+Shift+O)"));
    connect(m_outlineAction, &QAction::triggered, this, onTab([](DocumentTab *tab) {
                tab->panels()->setShowOutline(!tab->panels()->showOutline());
            }));
    m_sidebarAction = addCommand("toggleSidebar", tr("Show &Sidebar"), {});
    connect(m_sidebarAction, &QAction::triggered, this,
            onTab([](DocumentTab *tab) { tab->panels()->toggleSidebar(); }));
    connect(addCommand("biggerText", tr("&Bigger Text"),
                       {QKeySequence::ZoomIn, QKeySequence(tr("Ctrl+="))}, true),
            &QAction::triggered, this,
            onTab([](DocumentTab *tab) { tab->controller()->zoom(0.1); }));
    connect(addCommand("smallerText", tr("S&maller Text"), {QKeySequence::ZoomOut}, true),
            &QAction::triggered, this,
            onTab([](DocumentTab *tab) { tab->controller()->zoom(-0.1); }));
    connect(addCommand("actualSize", tr("&Actual Size"), {QKeySequence(tr("Ctrl+0"))}, true),
            &QAction::triggered, this,
            onTab([](DocumentTab *tab) { tab->controller()->zoom(std::nullopt); }));
    const auto switchTab = [this](int step) {
        if (m_tabs->count() > 1)
            m_tabs->setCurrentIndex((m_tabs->currentIndex() + step + m_tabs->count()) %
                                    m_tabs->count());
    };
    connect(addCommand("nextTab", tr("Show &Next Tab"),
                       {QKeySequence(tr("Ctrl+PgDown")), QKeySequence(tr("Ctrl+Tab"))}),
            &QAction::triggered, this, [switchTab] { switchTab(1); });
    connect(addCommand("previousTab", tr("Show &Previous Tab"),
                       {QKeySequence(tr("Ctrl+PgUp")), QKeySequence(tr("Ctrl+Shift+Tab"))}),
            &QAction::triggered, this, [switchTab] { switchTab(-1); });

    m_outline = new OutlinePopover(this);
    connect(m_outline, &OutlinePopover::headingChosen, this, [this](const OutlineItem &item) {
        if (DocumentTab *tab = currentTab())
            tab->controller()->jump(item);
    });
    connect(m_outline, &OutlinePopover::closed, this, [this] {
        if (DocumentTab *tab = currentTab())
            tab->panels()->setShowOutline(false);
    });
}

QWidget *DocumentWindow::outlineAnchor()
{
    for (QToolBar *toolbar : findChildren<QToolBar *>()) {
        if (QWidget *button = toolbar->widgetForAction(m_outlineAction))
            return button;
    }
    return this;
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
        if (FolderOpenRules::isFolder(path))
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
    connect(tab->panels(), &TabPanels::showOutlineChanged, this, [this, tab](bool show) {
        if (tab != currentTab())
            return;
        if (show) {
            m_outline->setOutline(tab->controller()->outline());
            m_outline->showBelow(outlineAnchor());
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
    for (QAction *command : std::as_const(m_documentCommands))
        command->setEnabled(tab != nullptr);
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
    Lumo::Editor::updateFormatCommands(this, editing);
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

void DocumentWindow::showOpenDialog()
{
    QFileDialog *dialog = FolderOpener::openDialog(this);
    if (const DocumentTab *tab = currentTab(); tab && !tab->document()->isUntitled())
        dialog->setDirectory(QFileInfo(tab->document()->path()).absolutePath());
    connect(dialog, &QFileDialog::filesSelected, this,
            [this](const QStringList &paths) { Q_EMIT openFilesRequested(paths, this); });
    dialog->open();
}

} // namespace Lumo::App
