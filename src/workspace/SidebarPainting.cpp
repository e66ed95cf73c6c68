#include "SidebarPainting.h"

#include "base/Brand.h"

#include <QCoreApplication>
#include <QPainter>
#include <QPainterPath>

namespace Lumo::Workspace {

namespace Brand = Lumo::Base::Brand;

namespace {

constexpr int iconSize = 16;
constexpr int gap = 6;
constexpr int markSize = 7;
constexpr int markMargin = 12;
constexpr int stripInset = 6;

QColor faded(QColor color, double alpha)
{
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

QRect markRect(const QRect &rect)
{
    return {rect.right() - markMargin - markSize + 1, rect.center().y() - markSize / 2, markSize,
            markSize};
}

} // namespace

namespace SidebarPainting {

int rowHeight(const QFontMetrics &metrics)
{
    return std::max(26, metrics.height() + 10);
}

void paintRowBackground(QPainter *painter, const QRect &row, bool current, bool cursor,
                        bool hovered)
{
    const QRectF strip = QRectF(row).adjusted(stripInset, 1, -stripInset, -1);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    if (current)
        painter->setBrush(Brand::selection().current());
    else if (hovered)
        painter->setBrush(faded(Brand::accent().current(), 0.08));
    if (current || hovered)
        painter->drawRoundedRect(strip, 5, 5);
    if (cursor) {
        painter->setBrush(Qt::NoBrush);
        painter->setPen(QPen(Brand::accent().current(), 1.5));
        painter->drawRoundedRect(strip.adjusted(0.75, 0.75, -0.75, -0.75), 5, 5);
    }
    painter->restore();
}

void paintFolderIcon(QPainter *painter, const QRectF &box, const QPalette &)
{
    const QColor accent = Brand::accent().current();
    const QRectF body = box.adjusted(0.5, 3, -0.5, -2);
    QPainterPath back;
    back.moveTo(body.left(), body.top() + 1.5);
    back.quadTo(body.left(), body.top() - 1, body.left() + 2, body.top() - 1);
    back.lineTo(body.left() + 5.5, body.top() - 1);
    back.lineTo(body.left() + 7.5, body.top() + 1);
    back.lineTo(body.right() - 1.5, body.top() + 1);
    back.quadTo(body.right(), body.top() + 1, body.right(), body.top() + 2.5);
    back.lineTo(body.right(), body.bottom() - 1.5);
    back.quadTo(body.right(), body.bottom(), body.right() - 1.5, body.bottom());
    back.lineTo(body.left() + 1.5, body.bottom());
    back.quadTo(body.left(), body.bottom(), body.left(), body.bottom() - 1.5);
    back.closeSubpath();
    painter->setPen(Qt::NoPen);
    painter->setBrush(faded(accent, 0.55));
    painter->drawPath(back);
    painter->setBrush(faded(accent, 0.9));
    painter->drawRoundedRect(QRectF(body.left(), body.top() + 3, body.width(), body.height() - 3),
                             1.5, 1.5);
}

void paintDocumentIcon(QPainter *painter, const QRectF &box, const QPalette &palette)
{
    const QColor ink = faded(palette.color(QPalette::Text), 0.55);
    const QRectF page = box.adjusted(2.5, 0.5, -2.5, -0.5);
    const double fold = 4;
    QPainterPath outline;
    outline.moveTo(page.left() + 1.5, page.top());
    outline.lineTo(page.right() - fold, page.top());
    outline.lineTo(page.right(), page.top() + fold);
    outline.lineTo(page.right(), page.bottom() - 1.5);
    outline.quadTo(page.right(), page.bottom(), page.right() - 1.5, page.bottom());
    outline.lineTo(page.left() + 1.5, page.bottom());
    outline.quadTo(page.left(), page.bottom(), page.left(), page.bottom() - 1.5);
    outline.lineTo(page.left(), page.top() + 1.5);
    outline.quadTo(page.left(), page.top(), page.left() + 1.5, page.top());
    painter->setBrush(Qt::NoBrush);
    painter->setPen(QPen(ink, 1.1));
    painter->drawPath(outline);
    painter->drawLine(QPointF(page.right() - fold, page.top()),
                      QPointF(page.right() - fold, page.top() + fold));
    painter->drawLine(QPointF(page.right() - fold, page.top() + fold),
                      QPointF(page.right(), page.top() + fold));
    painter->setPen(QPen(faded(ink, 0.4), 1));
    for (double y : {page.top() + 7.5, page.top() + 10.5})
        painter->drawLine(QPointF(page.left() + 2.5, y), QPointF(page.right() - 2.5, y));
}

void paintRow(QPainter *painter, const QRect &rect, const QPalette &palette, const QFont &font,
              const Row &row)
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRectF icon(rect.left() + 2, rect.center().y() - iconSize / 2.0 + 0.5, iconSize,
                      iconSize);
    if (row.isFolder)
        paintFolderIcon(painter, icon, palette);
    else
        paintDocumentIcon(painter, icon, palette);

    QFont text = font;
    if (row.current)
        text.setWeight(QFont::DemiBold);
    painter->setFont(text);
    const int textLeft = static_cast<int>(icon.right()) + gap;
    const int textRight = row.unread ? markRect(rect).left() - gap : rect.right() - markMargin;
    const QRect textRect(textLeft, rect.top(), std::max(0, textRight - textLeft), rect.height());
    const QString name = QFontMetrics(text).elidedText(row.name, Qt::ElideMiddle, textRect.width());
    painter->setPen(palette.color(QPalette::Text));
    painter->drawText(textRect, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine, name);

    if (row.unread) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(Brand::change().current());
        painter->drawEllipse(markRect(rect));
    }
    painter->restore();
}

void paintChevron(QPainter *painter, const QRect &slot, const QPalette &palette, qreal degrees)
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(faded(palette.color(QPalette::Text), 0.5), 1.5, Qt::SolidLine,
                         Qt::RoundCap, Qt::RoundJoin));
    painter->translate(QRectF(slot).center());
    painter->rotate(degrees);
    const QPointF points[] = {{-1.5, -3.5}, {2, 0}, {-1.5, 3.5}};
    painter->drawPolyline(points, 3);
    painter->restore();
}

QRect markHitArea(const QRect &rect)
{
    return markRect(rect).adjusted(-6, -6, 6, 6);
}

QString unreadToolTip(bool isFolder)
{
    return isFolder ? QCoreApplication::translate("Lumo::Workspace::FolderSidebar",
                                                  "Something inside changed since you last read it")
                    : QCoreApplication::translate("Lumo::Workspace::FolderSidebar",
                                                  "Changed since you last read it");
}

} // namespace SidebarPainting

} // namespace Lumo::Workspace
