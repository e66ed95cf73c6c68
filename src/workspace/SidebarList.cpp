#include "SidebarList.h"

#include "base/Brand.h"
#include "FolderTreeModel.h"
#include "SidebarPainting.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QToolTip>

namespace Lumo::Workspace {

namespace {

class RowDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const override
    {
        return {100, SidebarPainting::rowHeight(option.fontMetrics)};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        SidebarPainting::paintRow(painter, option.rect, option.palette, option.font,
                                  SidebarPainting::Row{
                                      index.data(Qt::DisplayRole).toString(),
                                      index.data(FolderTreeModel::IsFolderRole).toBool(),
                                      index.data(FolderTreeModel::ExpandedRole).toBool(),
                                      index.data(FolderTreeModel::CurrentRole).toBool(),
                                      index.data(FolderTreeModel::UnreadRole).toBool(),
                                  });
    }
};

} // namespace

SidebarList::SidebarList(QWidget *parent)
    : QTreeView(parent)
{
    setAccessibleName(tr("Files"));
    setHeaderHidden(true);
    setRootIsDecorated(true);
    setItemsExpandable(false);
    setExpandsOnDoubleClick(false);
    setUniformRowHeights(true);
    setAnimated(false);
    setIndentation(SidebarPainting::indentation);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setItemDelegate(new RowDelegate(this));
    viewport()->setAutoFillBackground(false);
    m_turn.setDuration(180);
    m_turn.setEasingCurve(QEasingCurve::OutCubic);
    m_turn.setStartValue(0.0);
    m_turn.setEndValue(1.0);
    connect(&m_turn, &QVariantAnimation::valueChanged, viewport(), qOverload<>(&QWidget::update));
}

void SidebarList::setFolderModel(FolderTreeModel *model)
{
    m_model = model;
    setModel(model);
    connect(model, &QAbstractItemModel::modelReset, this, [this] { followExpansion(false); });
    connect(model, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex &, const QModelIndex &, const QList<int> &roles) {
                if (!roles.contains(FolderTreeModel::ExpandedRole))
                    return;
                followExpansion(std::exchange(m_animateNext, false) && isVisible());
            });
    followExpansion(false);
}

void SidebarList::followExpansion(bool animated)
{
    setAnimated(animated);
    QList<QModelIndex> pending{QModelIndex()};
    while (!pending.isEmpty()) {
        const QModelIndex parent = pending.takeLast();
        for (int row = 0, rows = m_model->rowCount(parent); row < rows; ++row) {
            const QModelIndex child = m_model->index(row, 0, parent);
            if (!child.data(FolderTreeModel::IsFolderRole).toBool())
                continue;
            const bool expanded = child.data(FolderTreeModel::ExpandedRole).toBool();
            if (isExpanded(child) != expanded)
                setExpanded(child, expanded);
            pending.append(child);
        }
    }
    setAnimated(false);
}

QList<QModelIndex> SidebarList::visibleRows() const
{
    QList<QModelIndex> rows;
    if (!m_model)
        return rows;
    const auto walk = [&](const auto &self, const QModelIndex &parent) -> void {
        for (int row = 0, count = m_model->rowCount(parent); row < count; ++row) {
            const QModelIndex child = m_model->index(row, 0, parent);
            rows.append(child);
            if (child.data(FolderTreeModel::ExpandedRole).toBool())
                self(self, child);
        }
    };
    walk(walk, QModelIndex());
    return rows;
}

QModelIndex SidebarList::cursorIndex() const
{
    return m_cursor && m_model ? m_model->indexOf(*m_cursor) : QModelIndex();
}

void SidebarList::setCursorPath(const std::optional<QString> &path)
{
    m_cursor = path;
    viewport()->update();
}

void SidebarList::showCursor(const QModelIndex &index)
{
    if (!index.isValid())
        return;
    setCursorPath(index.data(FolderTreeModel::PathRole).toString());
    scrollTo(index);
}

void SidebarList::showCursorAt(const QModelIndex &index)
{
    m_usingKeyboard = true;
    showCursor(index);
}

void SidebarList::stepCursor(int step)
{
    const QList<QModelIndex> rows = visibleRows();
    if (rows.isEmpty())
        return;
    qsizetype at = rows.indexOf(cursorIndex());
    if (at < 0)
        at = rows.indexOf(m_model->indexOf(m_model->currentPath()));
    const qsizetype target = at < 0 ? (step > 0 ? 0 : rows.size() - 1)
                                    : std::clamp<qsizetype>(at + step, 0, rows.size() - 1);
    showCursor(rows.at(target));
}

void SidebarList::toggle(const QModelIndex &index)
{
    if (const TreeNode *node = m_model->nodeAt(index)) {
        m_animateNext = true;
        m_turning = node->path;
        m_turn.stop();
        m_turn.start();
        m_model->tree()->toggle(*node);
    }
}

void SidebarList::expandOrEnter()
{
    const QModelIndex index = cursorIndex();
    if (!index.data(FolderTreeModel::IsFolderRole).toBool())
        return;
    if (!index.data(FolderTreeModel::ExpandedRole).toBool())
        toggle(index);
    else if (m_model->rowCount(index) > 0)
        showCursor(m_model->index(0, 0, index));
}

void SidebarList::collapseOrLeave()
{
    const QModelIndex index = cursorIndex();
    if (!index.isValid())
        return;
    if (index.data(FolderTreeModel::ExpandedRole).toBool())
        toggle(index);
    else if (index.parent().isValid())
        showCursor(index.parent());
}

void SidebarList::activateCursor()
{
    const QModelIndex index = cursorIndex();
    if (index.isValid())
        Q_EMIT rowActivated(index, false);
}

void SidebarList::typeSelect(QChar character)
{
    if (!m_lastTyped.isValid() || m_lastTyped.elapsed() > typeSelectResetMilliseconds)
        m_typed.clear();
    m_typed.append(character.toLower());
    m_lastTyped.start();
    const QList<QModelIndex> rows = visibleRows();
    for (const QModelIndex &row : rows) {
        if (row.data(Qt::DisplayRole).toString().toLower().startsWith(m_typed)) {
            showCursor(row);
            return;
        }
    }
}

void SidebarList::keyPressEvent(QKeyEvent *event)
{
    const Qt::KeyboardModifiers modifiers =
        event->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier);
    if (modifiers != Qt::NoModifier) {
        QTreeView::keyPressEvent(event);
        return;
    }
    m_usingKeyboard = true;
    switch (event->key()) {
    case Qt::Key_Up:
        stepCursor(-1);
        break;
    case Qt::Key_Down:
        stepCursor(1);
        break;
    case Qt::Key_Home:
        stepCursor(-static_cast<int>(visibleRows().size()));
        break;
    case Qt::Key_End:
        stepCursor(static_cast<int>(visibleRows().size()));
        break;
    case Qt::Key_Right:
        expandOrEnter();
        break;
    case Qt::Key_Left:
        collapseOrLeave();
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        activateCursor();
        break;
    case Qt::Key_Escape:
        Q_EMIT escapePressed();
        break;
    default:
        if (const QString text = event->text(); text.size() == 1 && text.at(0).isPrint()) {
            typeSelect(text.at(0));
            break;
        }
        QTreeView::keyPressEvent(event);
        return;
    }
    viewport()->update();
    event->accept();
}

void SidebarList::mousePressEvent(QMouseEvent *event)
{
    const QModelIndex index = indexAt(event->position().toPoint());
    const bool opens = event->button() == Qt::LeftButton || event->button() == Qt::MiddleButton;
    if (!index.isValid() || !opens) {
        QTreeView::mousePressEvent(event);
        return;
    }
    m_usingKeyboard = false;
    setFocus(Qt::MouseFocusReason);
    setCursorPath(index.data(FolderTreeModel::PathRole).toString());
    const bool newTab =
        event->button() == Qt::MiddleButton || event->modifiers().testFlag(Qt::ControlModifier);
    Q_EMIT rowActivated(index, newTab);
    event->accept();
}

void SidebarList::mouseReleaseEvent(QMouseEvent *event)
{
    event->accept();
}

void SidebarList::mouseDoubleClickEvent(QMouseEvent *event)
{
    // The first click has acted already.
    event->accept();
}

void SidebarList::contextMenuEvent(QContextMenuEvent *event)
{
    const QModelIndex index = indexAt(event->pos());
    if (index.isValid())
        Q_EMIT contextMenuRequested(index, event->globalPos());
}

void SidebarList::focusInEvent(QFocusEvent *event)
{
    // QAbstractItemView would move its own current row here; the cursor is ours.
    QWidget::focusInEvent(event);
    viewport()->update();
}

void SidebarList::focusOutEvent(QFocusEvent *event)
{
    QWidget::focusOutEvent(event);
    viewport()->update();
}

bool SidebarList::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto *help = static_cast<QHelpEvent *>(event);
        const QModelIndex index = indexAt(help->pos());
        if (index.data(FolderTreeModel::UnreadRole).toBool() &&
            SidebarPainting::markHitArea(visualRect(index)).contains(help->pos())) {
            QToolTip::showText(
                help->globalPos(),
                SidebarPainting::unreadToolTip(index.data(FolderTreeModel::IsFolderRole).toBool()),
                viewport());
            return true;
        }
    }
    return QTreeView::viewportEvent(event);
}

void SidebarList::drawRow(QPainter *painter, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const
{
    const bool isCursor = m_usingKeyboard && hasFocus() && m_cursor &&
                          index.data(FolderTreeModel::PathRole).toString() == *m_cursor;
    SidebarPainting::paintRowBackground(painter, option.rect,
                                        index.data(FolderTreeModel::CurrentRole).toBool(), isCursor,
                                        option.state.testFlag(QStyle::State_MouseOver));
    QStyleOptionViewItem plain = option;
    plain.state &= ~(QStyle::State_Selected | QStyle::State_HasFocus | QStyle::State_MouseOver);
    QTreeView::drawRow(painter, plain, index);
}

void SidebarList::drawBranches(QPainter *painter, const QRect &rect, const QModelIndex &index) const
{
    if (!index.data(FolderTreeModel::IsFolderRole).toBool())
        return;
    // Nudged right, clear of the rounded strip's edge.
    const QRect slot(rect.right() - indentation() + 4, rect.top(), indentation(), rect.height());
    qreal degrees = isExpanded(index) ? 90 : 0;
    if (m_turn.state() == QAbstractAnimation::Running &&
        index.data(FolderTreeModel::PathRole).toString() == m_turning)
        degrees = degrees == 90 ? 90 * m_turn.currentValue().toReal()
                                : 90 * (1 - m_turn.currentValue().toReal());
    SidebarPainting::paintChevron(painter, slot, palette(), degrees);
}

} // namespace Lumo::Workspace
