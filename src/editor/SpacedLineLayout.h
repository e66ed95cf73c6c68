#pragma once

#include <QPlainTextDocumentLayout>

namespace Lumo::Editor {

// The plain-text layout with lines spaced at a multiple of their height, which the
// plain layout cannot do: it ignores the blocks' line height. Each block is laid out
// as usual, then its lines are moved apart, half the extra space above each line and
// half below, before anyone sees the block's rectangle. Painting, the caret, hit
// testing and scrolling all read the lines' positions, so they follow.
class SpacedLineLayout : public QPlainTextDocumentLayout
{
    Q_OBJECT

public:
    SpacedLineLayout(QTextDocument *document, qreal lineHeight);

    qreal lineHeight() const { return m_lineHeight; }

    QRectF blockBoundingRect(const QTextBlock &block) const override;

private:
    qreal m_lineHeight;
};

} // namespace Lumo::Editor
