#pragma once

#include <QLabel>

namespace Lumo::Document {

// A short hint centred over an empty page, so a window with nothing open is not a
// blank white sheet: how to open a file, and how to start writing.
class EmptyHint final : public QLabel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(EmptyHint)

public:
    // Covers `page`, above it, following its size; hidden until shown.
    explicit EmptyHint(QWidget *page);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};

} // namespace Lumo::Document
