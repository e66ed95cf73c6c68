#pragma once

#include <optional>
#include <QElapsedTimer>
#include <QTreeView>
#include <QVariantAnimation>

namespace Lumo::Workspace {

class FolderTreeModel;

// The rows of a folder sidebar. Folders open and close through the tree (never by
// the view alone), so every window on the folder agrees; the view follows the tree's
// expanded set, animating only what the user did here.
//
// Keyboard, while focused: Up/Down move the cursor row (from the current document's
// row when there is no cursor), Home/End to the first and last row, Right expands a folder or
// enters it, Left collapses it or goes to the parent folder, Return/Space activate the cursor row,
// typed characters select the first row whose name starts with what was typed within a second,
// Escape hands the focus back to the document. The cursor row is outlined only while the keyboard
// drives it.
class SidebarList final : public QTreeView
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SidebarList)

public:
    static constexpr int typeSelectResetMilliseconds = 1000;

    explicit SidebarList(QWidget *parent = nullptr);

    void setFolderModel(FolderTreeModel *model);
    FolderTreeModel *folderModel() const { return m_model; }

    // The rows on show, in order: every node whose enclosing folders are all expanded.
    QList<QModelIndex> visibleRows() const;
    std::optional<QString> cursorPath() const { return m_cursor; }
    void setCursorPath(const std::optional<QString> &path);
    bool usingKeyboard() const { return m_usingKeyboard; }

    void stepCursor(int step);
    void expandOrEnter();
    void collapseOrLeave();
    void activateCursor();
    void typeSelect(QChar character);
    // Puts the keyboard cursor on the row, outlined, and scrolls to it.
    void showCursorAt(const QModelIndex &index);
    // Opens or closes a folder through the tree, animated here.
    void toggle(const QModelIndex &index);

Q_SIGNALS:
    // A row was clicked or activated from the keyboard; newTab when Ctrl was held.
    void rowActivated(const QModelIndex &index, bool newTab);
    void contextMenuRequested(const QModelIndex &index, const QPoint &globalPosition);
    void escapePressed();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void drawRow(QPainter *painter, const QStyleOptionViewItem &option,
                 const QModelIndex &index) const override;
    void drawBranches(QPainter *painter, const QRect &rect,
                      const QModelIndex &index) const override;

private:
    void followExpansion(bool animated);
    void showCursor(const QModelIndex &index);
    QModelIndex cursorIndex() const;

    FolderTreeModel *m_model = nullptr;
    std::optional<QString> m_cursor;
    bool m_usingKeyboard = false;
    // Set while a change the user made here is on its way through the tree.
    bool m_animateNext = false;
    QString m_typed;
    QElapsedTimer m_lastTyped;
    // The chevron of the folder last toggled here turns a quarter in this time.
    QString m_turning;
    QVariantAnimation m_turn;
};

} // namespace Lumo::Workspace
