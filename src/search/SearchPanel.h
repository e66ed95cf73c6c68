#pragma once

#include "PanelOverlay.h"
#include "SearchSession.h"

namespace Lumo::Search {

class SearchResultsModel;

// Project search: the matching lines of every Markdown file of the project, grouped
// by file, newest file first. The files are listed off the main thread when the
// panel opens and searched off it as the query changes (see SearchSession).
class SearchPanel final : public PanelOverlay
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SearchPanel)

public:
    explicit SearchPanel(QWidget *tab);

    // Shows the panel over the files under root (none when root is empty).
    void open(const QString &root);

    SearchSession *session() const { return m_session; }
    bool loading() const { return m_loading; }

Q_SIGNALS:
    void hitChosen(const QString &path, int line, bool replacingCurrent);

protected:
    void handleKey(Key key) override;

private:
    void refresh();
    void showSelection();
    void choose(bool replacingCurrent);

    SearchSession *m_session;
    SearchResultsModel *m_model;
    QString m_prompt;
    quint64 m_generation = 0;
    bool m_loading = false;
};

} // namespace Lumo::Search
