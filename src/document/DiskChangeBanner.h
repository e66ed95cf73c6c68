#pragma once

#include <QFrame>

namespace Lumo::Document {

// The strip over a document whose file changed on disk while it has unsaved edits:
// "Changed on disk", with "Reload" (take the file) and "Keep Mine".
class DiskChangeBanner final : public QFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DiskChangeBanner)

public:
    explicit DiskChangeBanner(QWidget *parent = nullptr);

Q_SIGNALS:
    void reloadClicked();
    void keepMineClicked();
};

} // namespace Lumo::Document
