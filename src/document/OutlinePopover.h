#pragma once

#include "OutlineItem.h"

#include <QFrame>

class QLineEdit;
class QListWidget;

namespace Lumo::Document {

// The headings of the page under the toolbar's Outline button: a filter field that
// has the focus, and the list, indented from the shallowest heading. Choosing a
// heading (click, or Return for the selected row, which the arrow keys move from the
// filter field) reports it and closes the popover.
class OutlinePopover final : public QFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(OutlinePopover)

public:
    explicit OutlinePopover(QWidget *parent = nullptr);

    void setOutline(const QList<OutlineItem> &outline);
    // Shows the popover below the anchor widget, within its screen.
    void showBelow(QWidget *anchor);

    QString filterText() const;
    void setFilterText(const QString &text);
    // The headings listed now, in order.
    QList<OutlineItem> shownItems() const { return m_shown; }
    // The row selected now, or -1.
    int selectedRow() const;

Q_SIGNALS:
    void headingChosen(const OutlineItem &item);
    void closed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void refill();
    void choose(int row);

    QLineEdit *m_filter;
    QListWidget *m_list;
    QList<OutlineItem> m_outline;
    QList<OutlineItem> m_shown;
};

} // namespace Lumo::Document
