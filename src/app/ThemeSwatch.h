#pragma once

#include "ReaderPreferences.h"

#include <QAbstractButton>

namespace Lumo::App {

// The Settings tile of one reader theme: a small page preview, half in the theme's
// light page colour and half in its dark one, with the theme's name beneath. The
// checked tile is the current theme and wears a ring in the window's accent colour.
// Named ThemeSwatchTile because ThemeSwatch is already the colour triple it draws.
class ThemeSwatchTile final : public QAbstractButton
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ThemeSwatchTile)

public:
    explicit ThemeSwatchTile(ReaderTheme::Case theme, QWidget *parent = nullptr);

    ReaderTheme::Case theme() const { return m_theme; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool hitButton(const QPoint &pos) const override;

private:
    QRectF cardRect() const;
    QRectF previewRect() const;

    ReaderTheme::Case m_theme;
};

} // namespace Lumo::App
