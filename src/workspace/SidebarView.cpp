#include "SidebarView.h"

#include "document/DocumentController.h"
#include "FolderSidebar.h"
#include "FolderTree.h"
#include "SidebarPainting.h"

#include <QDir>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

using Lumo::Document::DocumentController;
using Lumo::Document::OpenDocument;
using Lumo::Document::TabPanels;

namespace Lumo::Workspace {

namespace {

class FolderSymbol : public QWidget
{
public:
    using QWidget::QWidget;

    QSize sizeHint() const override { return {40, 40}; }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(rect().center() - QPointF(20, 20));
        painter.scale(2.5, 2.5);
        SidebarPainting::paintFolderIcon(&painter, QRectF(0, 0, 16, 16), palette());
    }
};

QWidget *noFolderView(SidebarView *sidebar)
{
    auto *view = new QWidget(sidebar);
    view->setObjectName(QStringLiteral("noFolder"));
    auto *symbol = new FolderSymbol(view);
    auto *text = new QLabel(
        SidebarView::tr("Save this file, or open a folder\nto browse its Markdown."), view);
    text->setAlignment(Qt::AlignCenter);
    text->setForegroundRole(QPalette::PlaceholderText);
    auto *button = new QPushButton(SidebarView::tr("Open Folder…"), view);
    QObject::connect(button, &QPushButton::clicked, sidebar, &SidebarView::openFolderChosen);
    auto *layout = new QVBoxLayout(view);
    layout->setSpacing(10);
    layout->addStretch();
    layout->addWidget(symbol, 0, Qt::AlignHCenter);
    layout->addWidget(text);
    layout->addWidget(button, 0, Qt::AlignHCenter);
    layout->addStretch();
    return view;
}

} // namespace

SidebarView::SidebarView(DocumentController *controller, TabPanels *panels, QWidget *parent)
    : QStackedWidget(parent)
    , m_controller(controller)
    , m_panels(panels)
    , m_noFolder(noFolderView(this))
    , m_pending(new QWidget(this))
{
    addWidget(m_noFolder);
    addWidget(m_pending);
    setAcceptDrops(true);
    connect(controller, &DocumentController::sidebarRootChanged, this, &SidebarView::showRoot);
    showRoot(controller->sidebarRoot());
}

void SidebarView::showRoot(const QString &root)
{
    if (m_folder && m_folder->tree()->root() == QDir::cleanPath(root))
        return;
    if (m_folder) {
        removeWidget(m_folder);
        m_folder->deleteLater();
        m_folder = nullptr;
    }
    if (root.isEmpty()) {
        // A document on disk always gets a folder; until it is found, nothing shows.
        const OpenDocument *document = m_controller->document();
        setCurrentWidget(document && !document->isUntitled() ? m_pending : m_noFolder);
        return;
    }
    m_folder = new FolderSidebar(FolderTree::shared(root), m_controller, m_panels, this);
    connect(m_folder, &FolderSidebar::leaveRequested, this, &SidebarView::leaveRequested);
    connect(m_folder, &FolderSidebar::openFolderChosen, this, &SidebarView::openFolderChosen);
    addWidget(m_folder);
    setCurrentWidget(m_folder);
}

QStringList SidebarView::droppedPaths(const QMimeData *data)
{
    QStringList paths;
    for (const QUrl &url : data->urls()) {
        if (url.isLocalFile())
            paths << url.toLocalFile();
    }
    return paths;
}

void SidebarView::dragEnterEvent(QDragEnterEvent *event)
{
    if (!droppedPaths(event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void SidebarView::dropEvent(QDropEvent *event)
{
    const QStringList paths = droppedPaths(event->mimeData());
    if (paths.isEmpty())
        return;
    event->acceptProposedAction();
    Q_EMIT filesDropped(paths);
}

} // namespace Lumo::Workspace
