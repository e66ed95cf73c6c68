#pragma once

#include "ProjectSearch.h"

#include <functional>
#include <QObject>
#include <QTimer>

namespace Lumo::Search {

// The state behind the project-search panel: the query, the project's files, the
// hits of the last completed search and the selected hit. Each change of the query
// cancels the running search and starts another 140 ms later, off the main thread;
// a search that was superseded never publishes, so the previous hits stay on screen
// until the next search completes.
//
// Main thread only; searches run on the global thread pool.
class SearchSession final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SearchSession)

public:
    using Searcher = std::function<QList<SearchHit>(
        const QString &query, const QList<MarkdownFile> &files, std::stop_token stop)>;

    static constexpr int debounceMilliseconds = 140;

    // The searcher defaults to ProjectSearch::search with the panel's bounds.
    explicit SearchSession(QObject *parent = nullptr, Searcher searcher = {});
    ~SearchSession() override;

    QString query() const { return m_query; }
    void setQuery(const QString &query);
    // The files to search; a searchable query is searched again over them.
    void setFiles(const QList<MarkdownFile> &files);

    const QList<SearchHit> &hits() const { return m_hits; }
    bool searching() const { return m_searching; }
    // Whether hits are the answer to the current query (for "No matches.").
    bool settled() const { return m_settled; }
    int selection() const { return m_selection; }
    void select(int index);
    // Moves the selection by ±1, wrapping around the ends.
    void move(int step);

Q_SIGNALS:
    void hitsChanged();
    void searchingChanged(bool searching);
    void selectionChanged(int selection);

private:
    void runSearch();
    void startSearch();
    void publish(const QList<SearchHit> &hits);
    void setSearching(bool searching);

    Searcher m_searcher;
    QTimer m_debounce;
    QString m_query;
    QList<MarkdownFile> m_files;
    QList<SearchHit> m_hits;
    std::stop_source m_stop;
    quint64 m_generation = 0;
    bool m_searching = false;
    bool m_settled = false;
    int m_selection = 0;
};

} // namespace Lumo::Search
