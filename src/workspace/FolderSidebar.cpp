#include "FolderSidebar.h"

#include "base/DesktopIntegration.h"
#include "document/DocumentController.h"
#include "document/TabPanels.h"
#include "FolderTree.h"
#include "FolderTreeModel.h"
#include "SidebarList.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

using Lumo::Document::DocumentController;
using Lumo::Document::OpenDocument;
using Lumo::Document::TabPanels;

namespace Lumo::Workspace {

namespace DesktopIntegration = Lumo::Base::DesktopIntegration;

namespace {

QLabel *centredNote(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setAlignment(Qt::AlignCenter);
    label->setForegroundRole(QPalette::PlaceholderText);
    label->setWordWrap(true);
    return label;
}

} // namespace

FolderSidebar::FolderSidebar(std::shared_ptr<FolderTree> tree, DocumentController *controller,
                             TabPanels *panels, QWidget *parent)
    : QWidget(parent)
    , m_tree(std::move(tree))
    , m_controller(controller)
    , m_model(new FolderTreeModel(m_tree, this))
    , m_list(new SidebarList(this))
    , m_body(new QStackedWidget(this))
{
    m_model->setCurrentFile(currentFile());
    m_list->setFolderModel(m_model);

    m_body->addWidget(new QWidget(m_body)); // loading: an empty list, no flash of "none"
    m_body->addWidget(centredNote(tr("No Markdown files"), m_body));
    m_body->addWidget(m_list);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(buildHeader());
    layout->addWidget(m_body, 1);

    connect(m_tree.get(), &FolderTree::loadedChanged, this, [this] {
        showState();
        restore();
    });
    connect(m_tree.get(), &FolderTree::fileCountChanged, this, &FolderSidebar::showState);
    connect(m_tree.get(), &FolderTree::truncatedChanged, this, &FolderSidebar::showState);
    connect(m_model, &QAbstractItemModel::modelReset, this, [this] {
        // A rescan rebuilt the rows: the list stays where it was.
        m_list->verticalScrollBar()->setValue(static_cast<int>(m_tree->scrollOffset()));
    });
    connect(m_list->verticalScrollBar(), &QScrollBar::valueChanged, this, [this](int value) {
        if (!m_restoring && m_list->isVisible())
            m_tree->setScrollOffset(value);
    });
    connect(m_list, &SidebarList::rowActivated, this, &FolderSidebar::activate);
    connect(m_list, &SidebarList::contextMenuRequested, this, &FolderSidebar::showContextMenu);
    connect(m_list, &SidebarList::escapePressed, this, &FolderSidebar::leaveRequested);
    connect(panels, &TabPanels::revealRequestChanged, this, &FolderSidebar::reveal);
    if (OpenDocument *document = controller->document()) {
        connect(document, &OpenDocument::pathChanged, this, [this] {
            m_model->setCurrentFile(currentFile());
            restore();
        });
    }
    showState();
}

QWidget *FolderSidebar::buildHeader()
{
    auto *header = new QWidget(this);
    header->setObjectName(QStringLiteral("sidebarHeader"));
    m_title = new QLabel(QDir(m_tree->root()).dirName(), header);
    QFont bold = m_title->font();
    bold.setWeight(QFont::DemiBold);
    m_title->setFont(bold);
    m_title->setToolTip(QDir::toNativeSeparators(m_tree->root()));
    m_title->setTextFormat(Qt::PlainText);
    m_count = new QLabel(header);
    m_count->setForegroundRole(QPalette::PlaceholderText);
    QFont small = m_count->font();
    small.setPointSizeF(small.pointSizeF() * 0.9);
    m_count->setFont(small);
    m_count->setWordWrap(true);

    auto *menuButton = new QToolButton(header);
    menuButton->setObjectName(QStringLiteral("sidebarMenu"));
    menuButton->setText(QStringLiteral("⋯"));
    menuButton->setToolTip(tr("Folder"));
    menuButton->setAutoRaise(true);
    menuButton->setPopupMode(QToolButton::InstantPopup);
    menuButton->setStyleSheet(QStringLiteral("QToolButton::menu-indicator { image: none; }"));
    auto *menu = new QMenu(menuButton);
    menu->addAction(tr("Open Folder…"), this, &FolderSidebar::openFolderChosen);
    menu->addSeparator();
    menu->addAction(tr("Show in File Manager"), this,
                    [this] { DesktopIntegration::reveal(m_tree->root()); });
    menu->addAction(tr("Collapse All"), this, [this] { m_tree->setExpanded({}); });
    menuButton->setMenu(menu);

    auto *titles = new QVBoxLayout;
    titles->setSpacing(1);
    titles->addWidget(m_title);
    titles->addWidget(m_count);
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(14, 10, 6, 8);
    row->addLayout(titles, 1);
    row->addWidget(menuButton, 0, Qt::AlignTop);
    return header;
}

QString FolderSidebar::currentFile() const
{
    const OpenDocument *document = m_controller->document();
    return document && !document->isUntitled() ? QDir::cleanPath(document->path()) : QString();
}

void FolderSidebar::showState()
{
    QString count = tr("%n Markdown files", nullptr, m_tree->fileCount());
    if (m_tree->truncated())
        count += QLatin1Char('\n') + tr("Large folder: showing part of it");
    m_count->setText(m_tree->loaded() ? count : QString());
    if (!m_tree->loaded())
        m_body->setCurrentIndex(0);
    else
        m_body->setCurrentWidget(m_tree->fileCount() == 0 ? m_body->widget(1) : m_list);
}

void FolderSidebar::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    restore();
}

void FolderSidebar::restore()
{
    if (!m_tree->loaded())
        return;
    const QString file = currentFile();
    if (!file.isEmpty())
        m_tree->reveal(file);
    m_restoring = true;
    QTimer::singleShot(0, this, [this, file] {
        m_restoring = false;
        const QModelIndex row = m_model->indexOf(m_model->currentPath());
        // The document opened takes the keyboard (the window gives it); the list
        // only keeps its place.
        if (!file.isEmpty() && m_tree->handoff() == file) {
            m_list->verticalScrollBar()->setValue(static_cast<int>(m_tree->scrollOffset()));
        } else if (row.isValid()) {
            m_list->scrollTo(row);
        }
    });
}

void FolderSidebar::reveal()
{
    const QString file = currentFile();
    if (file.isEmpty())
        return;
    m_tree->reveal(file);
    QTimer::singleShot(0, this, [this] {
        m_list->setFocus(Qt::OtherFocusReason);
        m_list->showCursorAt(m_model->indexOf(m_model->currentPath()));
    });
}

void FolderSidebar::activate(const QModelIndex &index, bool newTab)
{
    if (index.data(FolderTreeModel::IsFolderRole).toBool())
        m_list->toggle(index);
    else
        openFile(index.data(FolderTreeModel::FilePathRole).toString(), newTab);
}

void FolderSidebar::openFile(const QString &path, bool newTab)
{
    const QString file = QDir::cleanPath(path);
    if (file == currentFile())
        return;
    m_tree->setHandoff(file);
    m_controller->open(file, !newTab);
}

void FolderSidebar::showContextMenu(const QModelIndex &index, const QPoint &globalPosition)
{
    const TreeNode *node = m_model->nodeAt(index);
    if (!node)
        return;
    const QString path = node->url;
    const QString relative = node->path;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (!node->isFolder)
        menu->addAction(tr("Open in New Tab"), this, [this, path] { openFile(path, true); });
    menu->addAction(tr("Show in File Manager"), this, [path] { DesktopIntegration::reveal(path); });
    menu->addAction(tr("Copy Path"), this,
                    [path] { QApplication::clipboard()->setText(QDir::toNativeSeparators(path)); });
    if (node->isFolder) {
        menu->addSeparator();
        const bool expanded = index.data(FolderTreeModel::ExpandedRole).toBool();
        menu->addAction(expanded ? tr("Collapse All Inside") : tr("Expand All Inside"), this,
                        [this, relative] {
                            const QModelIndex at = m_model->indexOf(relative);
                            if (const TreeNode *folder = m_model->nodeAt(at); folder)
                                m_tree->toggleRecursively(*folder);
                        });
    }
    menu->popup(globalPosition);
}

} // namespace Lumo::Workspace
