#include "OutlinePopover.h"

#include "base/Brand.h"
#include "OutlineFilter.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

namespace Lumo::Document {

namespace Brand = Lumo::Base::Brand;

namespace {

constexpr int popoverWidth = 300;
constexpr int popoverMaximumHeight = 460;
constexpr int indentRole = Qt::UserRole + 1;

// Rows as plain text: indented by level, the top level semibold, the pointer's row
// on a faint accent background.
class RowDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const bool hovered = option.state & (QStyle::State_MouseOver | QStyle::State_Selected);
        if (hovered) {
            QColor fill = Brand::accent().current();
            fill.setAlphaF(0.12f);
            QPainterPath shape;
            shape.addRoundedRect(QRectF(option.rect).adjusted(2, 1, -2, -1), 6, 6);
            painter->fillPath(shape, fill);
        }
        const int indent = index.data(indentRole).toInt();
        QFont font = option.font;
        font.setPointSizeF(10);
        if (indent == 0)
            font.setWeight(QFont::DemiBold);
        painter->setFont(font);
        const QPalette &palette = option.palette;
        const QColor textColor = palette.color(QPalette::Text);
        painter->setPen(indent == 0 ? textColor
                                    : Brand::mutedText(textColor, palette.color(QPalette::Base),
                                                       Brand::minimumTextContrast));
        const QRect text = option.rect.adjusted(14 * indent + 8, 0, -8, 0);
        painter->drawText(
            text, Qt::AlignVCenter | Qt::AlignLeft,
            QFontMetrics(font).elidedText(index.data().toString(), Qt::ElideRight, text.width()));
        painter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const override
    {
        return {popoverWidth, QFontMetrics(option.font).height() + 10};
    }
};

} // namespace

OutlinePopover::OutlinePopover(QWidget *parent)
    : QFrame(parent, Qt::Popup)
    , m_filter(new QLineEdit(this))
    , m_list(new QListWidget(this))
{
    setFrameShape(QFrame::StyledPanel);
    setFixedWidth(popoverWidth);
    setAccessibleName(tr("Outline"));
    m_filter->setPlaceholderText(tr("Filter headings"));
    m_filter->setAccessibleName(tr("Filter headings"));
    m_list->setAccessibleName(tr("Headings"));
    m_filter->setClearButtonEnabled(true);
    m_list->setItemDelegate(new RowDelegate(m_list));
    m_list->setMouseTracking(true);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setUniformItemSizes(true);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setFocusPolicy(Qt::NoFocus);
    m_filter->installEventFilter(this);
    m_list->viewport()->setAttribute(Qt::WA_Hover);

    auto *line = new QFrame(this);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 8, 0, 6);
    layout->setSpacing(6);
    auto *field = new QVBoxLayout;
    field->setContentsMargins(8, 0, 8, 0);
    field->addWidget(m_filter);
    layout->addLayout(field);
    layout->addWidget(line);
    layout->addWidget(m_list);

    connect(m_filter, &QLineEdit::textChanged, this, &OutlinePopover::refill);
    connect(m_filter, &QLineEdit::returnPressed, this,
            [this] { choose(std::max(0, m_list->currentRow())); });
    connect(m_list, &QListWidget::itemClicked, this,
            [this](QListWidgetItem *item) { choose(m_list->row(item)); });
}

void OutlinePopover::setOutline(const QList<OutlineItem> &outline)
{
    m_outline = outline;
    refill();
}

QString OutlinePopover::filterText() const
{
    return m_filter->text();
}

int OutlinePopover::selectedRow() const
{
    return m_list->currentRow();
}

void OutlinePopover::setFilterText(const QString &text)
{
    m_filter->setText(text);
}

void OutlinePopover::refill()
{
    m_shown = OutlineFilter::matching(m_outline, m_filter->text());
    const int minimum = OutlineFilter::minimumLevel(m_outline);
    m_list->clear();
    for (const OutlineItem &item : std::as_const(m_shown)) {
        auto *row = new QListWidgetItem(item.text, m_list);
        row->setData(indentRole, std::max(0, item.level - minimum));
        row->setToolTip(item.text);
    }
    m_list->setCurrentRow(m_shown.isEmpty() ? -1 : 0);
    const int rows = std::max(1, static_cast<int>(m_shown.size()));
    const int rowHeight = QFontMetrics(m_list->font()).height() + 10;
    m_list->setFixedHeight(
        std::min(rows * rowHeight + 6, popoverMaximumHeight - m_filter->sizeHint().height() - 30));
    adjustSize();
}

void OutlinePopover::choose(int row)
{
    if (row < 0 || row >= m_shown.size())
        return;
    const OutlineItem item = m_shown.at(row);
    hide();
    Q_EMIT headingChosen(item);
}

void OutlinePopover::showBelow(QWidget *anchor)
{
    m_filter->clear();
    refill();
    QPoint position = anchor->mapToGlobal(QPoint(0, anchor->height() + 2));
    if (const QScreen *screen = anchor->screen()) {
        const QRect area = screen->availableGeometry();
        position.setX(std::clamp(position.x(), area.left(), area.right() - width()));
    }
    move(position);
    show();
    m_filter->setFocus();
}

bool OutlinePopover::eventFilter(QObject *watched, QEvent *event)
{
    // The field keeps the focus; the arrow and page keys move the selection in the list.
    if (watched == m_filter && event->type() == QEvent::KeyPress && !m_shown.isEmpty()) {
        const int last = static_cast<int>(m_shown.size()) - 1;
        const int page =
            std::max(1, m_list->viewport()->height() / std::max(1, m_list->sizeHintForRow(0)));
        int row = m_list->currentRow();
        switch (static_cast<QKeyEvent *>(event)->key()) {
        case Qt::Key_Down:
            row += 1;
            break;
        case Qt::Key_Up:
            row -= 1;
            break;
        case Qt::Key_PageDown:
            row += page;
            break;
        case Qt::Key_PageUp:
            row -= page;
            break;
        default:
            return QFrame::eventFilter(watched, event);
        }
        m_list->setCurrentRow(std::clamp(row, 0, last));
        return true;
    }
    return QFrame::eventFilter(watched, event);
}

void OutlinePopover::hideEvent(QHideEvent *event)
{
    QFrame::hideEvent(event);
    Q_EMIT closed();
}

} // namespace Lumo::Document
