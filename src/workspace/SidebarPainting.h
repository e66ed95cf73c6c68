#pragma once

#include <QFontMetrics>
#include <QPalette>
#include <QRect>
#include <QString>

class QFont;
class QPainter;

// How a folder sidebar row looks: drawn rather than taken from the icon theme, so it
// is the same on every desktop, light and dark (colours from Brand and the palette).
namespace Lumo::Workspace::SidebarPainting {

inline constexpr int indentation = 18;

struct Row
{
    QString name;
    bool isFolder = false;
    bool expanded = false;
    bool current = false;
    bool unread = false;
};

int rowHeight(const QFontMetrics &metrics);
// The rounded strip behind the current document's row, the keyboard cursor's outline
// and the hover tint.
void paintRowBackground(QPainter *painter, const QRect &row, bool current, bool cursor,
                        bool hovered);
// Icon, name and unread mark inside the row's item rectangle.
void paintRow(QPainter *painter, const QRect &rect, const QPalette &palette, const QFont &font,
              const Row &row);
// Pointing right at 0 degrees, down (an open folder) at 90.
void paintChevron(QPainter *painter, const QRect &slot, const QPalette &palette, qreal degrees);
void paintFolderIcon(QPainter *painter, const QRectF &box, const QPalette &palette);
void paintDocumentIcon(QPainter *painter, const QRectF &box, const QPalette &palette);
// Where the unread mark of a row sits, widened for the pointer.
QRect markHitArea(const QRect &rect);
QString unreadToolTip(bool isFolder);

} // namespace Lumo::Workspace::SidebarPainting
