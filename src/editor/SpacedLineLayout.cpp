#include "SpacedLineLayout.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

namespace Lumo::Editor {

SpacedLineLayout::SpacedLineLayout(QTextDocument *document, qreal lineHeight)
    : QPlainTextDocumentLayout(document)
    , m_lineHeight(lineHeight)
{}

QRectF SpacedLineLayout::blockBoundingRect(const QTextBlock &block) const
{
    // Lays the block out when it is not.
    QRectF rect = QPlainTextDocumentLayout::blockBoundingRect(block);
    QTextLayout *layout = block.layout();
    if (!block.isVisible() || !layout || layout->lineCount() == 0)
        return rect;
    // A fresh layout puts its first line at the top; a spaced one never does.
    const bool spaced = layout->lineAt(0).y() > 0;
    qreal y = 0;
    for (int i = 0; i < layout->lineCount(); ++i) {
        QTextLine line = layout->lineAt(i);
        const qreal extra = (m_lineHeight - 1) * line.height();
        if (!spaced)
            line.setPosition({line.x(), y + extra / 2});
        y += line.height() + extra;
    }
    const bool last = !block.next().isValid();
    rect.setHeight(y + (last ? document()->documentMargin() : 0));
    return rect;
}

} // namespace Lumo::Editor
