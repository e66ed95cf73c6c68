#include "SearchPanel.h"

#include "base/Background.h"
#include "SearchResultList.h"

#include <QFileInfo>
#include <QLineEdit>
#include <QListView>

namespace Lumo::Search {

using Lumo::Base::runInBackground;

SearchPanel::SearchPanel(QWidget *tab)
    : PanelOverlay(tab)
    , m_session(new SearchSession(this))
    , m_model(new SearchResultsModel(this))
{
    setObjectName(QStringLiteral("searchPanel"));
    setAccessibleName(tr("Find in Project"));
    field()->setAccessibleName(tr("Text to find"));
    list()->setAccessibleName(tr("Matches"));
    list()->setModel(m_model);
    list()->setItemDelegate(new SearchResultDelegate(list()));
    connect(field(), &QLineEdit::textChanged, m_session, &SearchSession::setQuery);
    connect(field(), &QLineEdit::textChanged, this, &SearchPanel::refresh);
    connect(m_session, &SearchSession::hitsChanged, this, [this] {
        m_model->setHits(m_session->hits());
        refresh();
    });
    connect(m_session, &SearchSession::searchingChanged, this, &SearchPanel::refresh);
    connect(m_session, &SearchSession::selectionChanged, this, &SearchPanel::showSelection);
    connect(list(), &QListView::clicked, this, [this](const QModelIndex &index) {
        const int hit = m_model->hitOfRow(index.row());
        if (hit < 0)
            return;
        m_session->select(hit);
        choose(true);
    });
}

void SearchPanel::open(const QString &root)
{
    m_prompt = tr("Search all Markdown in %1")
                   .arg(root.isEmpty() ? tr("this folder") : QFileInfo(root).fileName());
    field()->setPlaceholderText(m_prompt);
    const quint64 generation = ++m_generation;
    m_loading = !root.isEmpty();
    m_session->setFiles({});
    present();
    refresh();
    if (!m_loading)
        return;
    runInBackground(
        this, [root] { return ProjectFiles::scan(root); },
        [this, generation](const QList<MarkdownFile> &files) {
            if (generation != m_generation)
                return;
            m_loading = false;
            m_session->setFiles(files);
            refresh();
        });
}

void SearchPanel::refresh()
{
    const QString query = field()->text();
    const qsizetype hits = m_session->hits().size();
    if (query.isEmpty())
        showMessage(m_prompt);
    else if (!ProjectSearch::isSearchable(query))
        showMessage(tr("Type at least 2 characters."));
    else if (m_loading)
        showMessage(tr("Finding Markdown files…"), true);
    else if (hits == 0 && m_session->settled())
        showMessage(tr("No matches."));
    else if (hits == 0)
        showMessage(tr("Searching…"), true);
    else
        showList();

    if (m_session->searching() || !m_session->settled() || hits == 0) {
        setSummary(m_session->searching() ? tr("Searching…") : QString());
        return;
    }
    const int files = m_model->fileCount();
    setSummary(tr("%1 matches in %2 file")
                   .arg(QString::number(qlonglong(hits)), QString::number(qlonglong(files))) +
               (files == 1 ? QString() : tr("s")));
}

void SearchPanel::showSelection()
{
    const int row = m_model->rowOfHit(m_session->selection());
    if (row < 0)
        return;
    const QModelIndex index = m_model->index(row);
    list()->setCurrentIndex(index);
    // Keep the file's header in view above its first hit.
    if (row > 0 && m_model->hitOfRow(row - 1) < 0)
        list()->scrollTo(m_model->index(row - 1));
    list()->scrollTo(index);
}

void SearchPanel::choose(bool replacingCurrent)
{
    const QList<SearchHit> &hits = m_session->hits();
    const int selected = m_session->selection();
    if (selected < 0 || selected >= hits.size())
        return;
    Q_EMIT hitChosen(hits[selected].file.path, hits[selected].line, replacingCurrent);
}

void SearchPanel::handleKey(Key key)
{
    switch (key) {
    case Key::Up:
        m_session->move(-1);
        break;
    case Key::Down:
        m_session->move(+1);
        break;
    case Key::Open:
    case Key::OpenInNewTab:
        choose(key == Key::Open);
        break;
    }
}

} // namespace Lumo::Search
