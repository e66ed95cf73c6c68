#pragma once

#include "PanelOverlay.h"
#include "QuickOpenIndex.h"

#include <memory>

namespace Lumo::Search {

class QuickOpenModel;

// Quick open: type a few letters of a path, open one of the project's Markdown
// files. The files are listed off the main thread each time the panel opens; until
// they arrive the panel says so, and typing goes on meanwhile.
class QuickOpenPanel final : public PanelOverlay
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QuickOpenPanel)

public:
    explicit QuickOpenPanel(QWidget *tab);

    // Shows the panel over the files under root (none when root is empty), leaving
    // out the current document.
    void open(const QString &root, const QString &currentPath);

    QList<MarkdownFile> results() const;
    int selection() const { return m_selection; }
    bool loading() const { return m_loading; }

Q_SIGNALS:
    void fileChosen(const QString &path, bool replacingCurrent);

protected:
    void handleKey(Key key) override;

private:
    void refresh();
    void select(int row);
    void choose(bool replacingCurrent);

    QuickOpenModel *m_model;
    std::shared_ptr<const QuickOpenIndex> m_index;
    QString m_currentPath;
    quint64 m_generation = 0;
    int m_selection = 0;
    bool m_loading = false;
};

} // namespace Lumo::Search
