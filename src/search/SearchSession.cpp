#include "SearchSession.h"

#include "base/Background.h"

namespace Lumo::Search {

using Lumo::Base::runInBackground;

SearchSession::SearchSession(QObject *parent, Searcher searcher)
    : QObject(parent)
    , m_searcher(std::move(searcher))
{
    if (!m_searcher) {
        m_searcher = [](const QString &query, const QList<MarkdownFile> &files,
                        std::stop_token stop) {
            return ProjectSearch::search(query, files, ProjectSearch::panelPerFile,
                                         ProjectSearch::panelTotal, stop);
        };
    }
    m_debounce.setSingleShot(true);
    m_debounce.setInterval(debounceMilliseconds);
    connect(&m_debounce, &QTimer::timeout, this, &SearchSession::startSearch);
}

SearchSession::~SearchSession()
{
    m_stop.request_stop();
}

void SearchSession::setQuery(const QString &query)
{
    if (query == m_query)
        return;
    m_query = query;
    runSearch();
}

void SearchSession::setFiles(const QList<MarkdownFile> &files)
{
    m_files = files;
    runSearch();
}

void SearchSession::runSearch()
{
    m_stop.request_stop();
    ++m_generation;
    m_debounce.stop();
    m_settled = false;
    if (!ProjectSearch::isSearchable(m_query)) {
        setSearching(false);
        publish({});
        return;
    }
    m_debounce.start();
}

void SearchSession::startSearch()
{
    m_stop = std::stop_source();
    const std::stop_token stop = m_stop.get_token();
    const quint64 generation = m_generation;
    setSearching(true);
    runInBackground(
        this,
        [searcher = m_searcher, query = m_query, files = m_files, stop] {
            return searcher(query, files, stop);
        },
        [this, generation, stop](const QList<SearchHit> &hits) {
            if (generation != m_generation || stop.stop_requested())
                return;
            setSearching(false);
            m_settled = true;
            publish(hits);
        });
}

void SearchSession::publish(const QList<SearchHit> &hits)
{
    m_hits = hits;
    m_selection = 0;
    Q_EMIT hitsChanged();
    Q_EMIT selectionChanged(m_selection);
}

void SearchSession::setSearching(bool searching)
{
    if (m_searching == searching)
        return;
    m_searching = searching;
    Q_EMIT searchingChanged(searching);
}

void SearchSession::select(int index)
{
    if (index < 0 || index >= m_hits.size() || index == m_selection)
        return;
    m_selection = index;
    Q_EMIT selectionChanged(m_selection);
}

void SearchSession::move(int step)
{
    const auto count = int(m_hits.size());
    if (count == 0)
        return;
    select((m_selection + step % count + count) % count);
}

} // namespace Lumo::Search
