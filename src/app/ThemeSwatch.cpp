#include "ThemeSwatch.h"

#include <QButtonGroup>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

namespace Lumo::App {

namespace {

constexpr QSizeF previewSize{96, 62};
constexpr qreal cardPadding = 7;
constexpr qreal cardRadius = 9;
constexpr qreal previewRadius = 5;
constexpr qreal ringWidth = 2.5;

// Four lines of "text" on one half of the preview, the first an accent-coloured
// heading so the theme's accent shows in both appearances.
void drawPageLines(QPainter &painter, const QRectF &half, const QColor &text, const QColor &accent)
{
    const qreal left = half.left() + 7;
    const qreal available = half.width() - 14;
    const qreal lineHeight = 3;
    painter.setPen(Qt::NoPen);
    painter.setBrush(accent);
    painter.drawRoundedRect(QRectF(left, half.top() + 9, available * 0.6, 5), 1.5, 1.5);
    painter.setBrush(text);
    const qreal widths[] = {1.0, 0.85, 0.95, 0.55};
    qreal y = half.top() + 22;
    for (qreal fraction : widths) {
        painter.drawRoundedRect(QRectF(left, y, available * fraction, lineHeight), 1.5, 1.5);
        y += 8;
    }
}

} // namespace

ThemeSwatchTile::ThemeSwatchTile(ReaderTheme::Case theme, QWidget *parent)
    : QAbstractButton(parent)
    , m_theme(theme)
{
    setText(ReaderTheme::displayName(theme));
    setToolTip(text());
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize ThemeSwatchTile::sizeHint() const
{
    const int nameHeight = fontMetrics().height();
    return QSize(qRound(previewSize.width() + 2 * cardPadding),
                 qRound(previewSize.height() + 2 * cardPadding + 6 + nameHeight));
}

QRectF ThemeSwatchTile::cardRect() const
{
    // Inset by half the ring so the ring is never clipped by the widget's edge.
    const qreal inset = ringWidth / 2;
    return QRectF(rect()).adjusted(inset, inset, -inset, -inset);
}

QRectF ThemeSwatchTile::previewRect() const
{
    const QRectF card = cardRect();
    return QRectF(card.center().x() - previewSize.width() / 2, card.top() + cardPadding - 1,
                  previewSize.width(), previewSize.height());
}

bool ThemeSwatchTile::hitButton(const QPoint &pos) const
{
    return cardRect().contains(pos);
}

void ThemeSwatchTile::keyPressEvent(QKeyEvent *event)
{
    // Space is handled by QAbstractButton; Enter selects too, as on a list.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        event->accept();
        return;
    }
    // The arrows choose the neighbouring theme, as in a row of radio buttons.
    const int step = event->key() == Qt::Key_Left || event->key() == Qt::Key_Up      ? -1
                     : event->key() == Qt::Key_Right || event->key() == Qt::Key_Down ? 1
                                                                                     : 0;
    if (step != 0 && group()) {
        const QList<QAbstractButton *> tiles = group()->buttons();
        const qsizetype next = tiles.indexOf(this) + step;
        if (next >= 0 && next < tiles.size()) {
            tiles.at(next)->setFocus(Qt::TabFocusReason);
            tiles.at(next)->click();
        }
        event->accept();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void ThemeSwatchTile::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    const QPalette &pal = palette();
    const QColor accent = pal.color(QPalette::Highlight);
    const QRectF card = cardRect();

    QColor cardFill = pal.color(QPalette::Base);
    if (isDown())
        cardFill = pal.color(QPalette::Midlight);
    else if (underMouse() && !isChecked())
        cardFill = pal.color(QPalette::AlternateBase);
    QColor border = pal.color(QPalette::Mid);
    border.setAlphaF(0.6f);
    painter.setPen(QPen(border, 1));
    painter.setBrush(cardFill);
    painter.drawRoundedRect(card, cardRadius, cardRadius);

    const ThemeSwatch swatch = ReaderTheme::swatch(m_theme);
    const QRectF preview = previewRect();
    QPainterPath clip;
    clip.addRoundedRect(preview, previewRadius, previewRadius);
    painter.save();
    painter.setClipPath(clip);
    QRectF lightHalf = preview;
    lightHalf.setRight(preview.center().x());
    QRectF darkHalf = preview;
    darkHalf.setLeft(preview.center().x());
    painter.fillRect(lightHalf, swatch.lightPage);
    painter.fillRect(darkHalf, swatch.darkPage);

    QColor lightText = swatch.darkPage;
    lightText.setAlphaF(0.35f);
    QColor darkText = swatch.lightPage;
    darkText.setAlphaF(0.4f);
    drawPageLines(painter, lightHalf, lightText, swatch.accent);
    drawPageLines(painter, darkHalf, darkText, swatch.accent.lighter(150));
    // The accent bar along the foot of the page.
    painter.fillRect(QRectF(preview.left(), preview.bottom() - 4, preview.width(), 4),
                     swatch.accent);
    painter.restore();

    QColor edge = pal.color(QPalette::Dark);
    edge.setAlphaF(0.35f);
    painter.setPen(QPen(edge, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(preview.adjusted(0.5, 0.5, -0.5, -0.5), previewRadius, previewRadius);

    const QRectF nameRect(card.left() + 2, preview.bottom() + 4, card.width() - 4,
                          card.bottom() - preview.bottom() - 6);
    QFont nameFont = font();
    if (isChecked())
        nameFont.setWeight(QFont::DemiBold);
    painter.setFont(nameFont);
    painter.setPen(
        pal.color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    painter.drawText(
        nameRect, Qt::AlignHCenter | Qt::AlignVCenter,
        QFontMetrics(nameFont).elidedText(text(), Qt::ElideRight, qRound(nameRect.width())));

    if (isChecked()) {
        painter.setPen(QPen(accent, ringWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(card, cardRadius, cardRadius);
    } else if (hasFocus()) {
        QColor focusRing = accent;
        focusRing.setAlphaF(0.55f);
        painter.setPen(QPen(focusRing, 1.5, Qt::DashLine));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(card, cardRadius, cardRadius);
    }
    if (isChecked() && hasFocus()) {
        // The ring already marks the selection; an inner line marks keyboard focus.
        QColor focusRing = accent;
        focusRing.setAlphaF(0.45f);
        painter.setPen(QPen(focusRing, 1));
        painter.drawRoundedRect(card.adjusted(3, 3, -3, -3), cardRadius - 3, cardRadius - 3);
    }
}

} // namespace Lumo::App
