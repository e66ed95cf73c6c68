#include "DocumentTab.h"

#include "base/Preferences.h"
#include "base/TextScale.h"
#include "document/DiskChangeBanner.h"
#include "document/EmptyHint.h"
#include "document/FindBar.h"
#include "document/PageScript.h"
#include "document/PreviewPage.h"
#include "document/PreviewView.h"
#include "document/TabNotice.h"
#include "document/TabPanels.h"
#include "DocumentWindow.h"
#include "editor/EditorView.h"
#include "workspace/SidebarView.h"
#include "WorkspaceCommands.h"

#include <algorithm>
#include <QApplication>
#include <QEvent>
#include <QJsonObject>
#include <QJsonValue>
#include <QShortcut>
#include <QSplitter>
#include <QVBoxLayout>

namespace Lumo::App {

using Lumo::Base::Preferences;
using Lumo::Document::DiskChangeBanner;
using Lumo::Document::DocumentController;
using Lumo::Document::EmptyHint;
using Lumo::Document::FindBar;
using Lumo::Document::OpenDocument;
using Lumo::Document::PreviewView;
using Lumo::Document::TabNotice;
using Lumo::Document::TabPanels;
using Lumo::Editor::EditorView;
using Lumo::Workspace::SidebarView;
namespace PageScript = Lumo::Document::PageScript;
namespace TextScale = Lumo::Base::TextScale;

DocumentTab::DocumentTab(OpenDocument *document, bool startInEditMode, QWidget *parent)
    : QWidget(parent)
    , m_view(new PreviewView(this))
    , m_panels(new TabPanels(this))
    , m_controller(new DocumentController(document, m_view->connection(), startInEditMode, this))
    , m_columns(new QSplitter(Qt::Horizontal, this))
    , m_sidebar(new SidebarView(m_controller, m_panels, m_columns))
    , m_banner(new DiskChangeBanner(this))
    , m_pageFind(new FindBar(false, this))
    , m_editorFind(new FindBar(true, this))
    , m_panes(new QSplitter(Qt::Horizontal, this))
    , m_editor(new EditorView(document->text(),
                              TextScale::stepped(Preferences::shared().textScale(), 0)))
{
    document->setParent(m_controller);
    m_view->attach(m_controller);

    m_editor->setMinimumWidth(editorMinimumWidth);
    m_editor->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    m_editor->setDocumentPath([document] { return document->path(); });

    QWebEngineView *page = m_view;
    page->setMinimumWidth(pageMinimumWidth);
    // The editor keeps a find bar of its own above it.
    m_editorPane = new QWidget(m_panes);
    auto *editorLayout = new QVBoxLayout(m_editorPane);
    editorLayout->setContentsMargins(0, 0, 0, 0);
    editorLayout->setSpacing(0);
    editorLayout->addWidget(m_editorFind);
    editorLayout->addWidget(m_editor, 1);
    m_editorFind->hide();
    m_panes->addWidget(m_editorPane);
    m_panes->addWidget(page);
    m_panes->setChildrenCollapsible(false);
    m_panes->setSizes({520, 520});

    auto *area = new QWidget(m_columns);
    auto *areaLayout = new QVBoxLayout(area);
    areaLayout->setContentsMargins(0, 0, 0, 0);
    areaLayout->setSpacing(0);
    areaLayout->addWidget(m_pageFind);
    areaLayout->addWidget(m_banner);
    auto *unwatched = new TabNotice(area);
    areaLayout->addWidget(unwatched);
    auto *previewProblem = new TabNotice(area);
    areaLayout->addWidget(previewProblem);
    areaLayout->addWidget(m_panes, 1);
    m_banner->hide();
    m_pageFind->hide();

    m_sidebar->setMinimumWidth(sidebarMinimumWidth);
    m_sidebar->setMaximumWidth(sidebarMaximumWidth);
    m_columns->addWidget(m_sidebar);
    m_columns->addWidget(area);
    m_columns->setChildrenCollapsible(false);
    m_columns->setStretchFactor(1, 1);
    const int width = std::clamp(static_cast<int>(Preferences::shared().sidebarWidth()),
                                 sidebarMinimumWidth, sidebarMaximumWidth);
    m_columns->setSizes({width, 1000});
    connect(m_columns, &QSplitter::splitterMoved, this, [this] {
        if (m_sidebar->isVisible())
            Preferences::shared().setSidebarWidth(m_sidebar->width());
    });

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_columns);

    m_controller->setEditor({[this] { return EditorView::topLine(m_editor); },
                             [this](double line) { EditorView::scrollToLine(m_editor, line); },
                             [this](int line) { EditorView::placeCaretAtLine(m_editor, line); }});

    // The editor's own edit comes back as a change of the document: the editor has it
    // already, and comparing two long texts on every keystroke would slow typing.
    connect(m_editor, &EditorView::textEdited, this,
            [this](const QString &text, qint64 position, qint64 removed, qint64 inserted) {
                m_takingEdit = true;
                const bool same =
                    this->document()->applyLineFeedEdit(text, position, removed, inserted);
                m_takingEdit = false;
                if (!same)
                    m_editor->setBoundText(this->document()->text());
            });
    connect(document, &OpenDocument::textChanged, this, [this] {
        if (!m_takingEdit)
            m_editor->setBoundText(this->document()->text());
    });
    connect(m_editor, &EditorView::scrolled, this, [this](double topLine) {
        if (m_controller->mode() == DocumentController::Mode::Edit && m_editor->isVisible())
            m_controller->editorDidScroll(topLine);
    });
    connect(&Preferences::shared(), &Preferences::textScaleChanged, m_editor, [this] {
        m_editor->setScale(TextScale::stepped(Preferences::shared().textScale(), 0));
    });

    connect(m_controller, &DocumentController::modeChanged, this, &DocumentTab::showMode);
    connect(m_panels, &TabPanels::sidebarVisibleChanged, this, &DocumentTab::updateSidebar);
    connect(m_controller, &DocumentController::diskChangePendingChanged, m_banner,
            &QWidget::setVisible);
    connect(m_controller, &DocumentController::openRequested, this, &DocumentTab::openRequested);
    const auto showUnwatched = [unwatched](bool show) {
        unwatched->setMessage(
            show ? tr("Changes made to this file by other programs cannot be noticed right "
                      "now: the system’s file watches are used up. Lumo keeps trying; close "
                      "other programs that watch many files to free some.")
                 : QString());
    };
    connect(m_controller, &DocumentController::unwatchedChanged, this, showUnwatched);
    showUnwatched(m_controller->isUnwatched());
    connect(m_controller, &DocumentController::previewProblemChanged, previewProblem,
            &TabNotice::setMessage);
    previewProblem->setMessage(m_controller->previewProblem());
    connect(m_sidebar, &SidebarView::openFolderChosen, this,
            [this] { WorkspaceCommands::chooseFolder(this); });
    connect(m_sidebar, &SidebarView::filesDropped, this, [this](const QStringList &paths) {
        if (auto *documentWindow = qobject_cast<DocumentWindow *>(window()))
            Q_EMIT documentWindow->openFilesRequested(paths, documentWindow);
    });
    connect(m_sidebar, &SidebarView::leaveRequested, this,
            [this] { showMode(m_controller->mode()); });
    connect(m_banner, &DiskChangeBanner::reloadClicked, this,
            [this] { m_controller->reloadFromDisk(true); });
    connect(m_banner, &DiskChangeBanner::keepMineClicked, this,
            [this] { m_controller->setDiskChangePending(false); });

    connect(m_panels, &TabPanels::showFindChanged, this, [this](bool show) {
        if (show)
            m_pageFind->open();
        else {
            m_pageFind->hide();
            m_pageSearched.clear();
            if (m_controller->isReady()) // the match loses its find colour
                m_controller->call(QStringLiteral("mv.find('')"));
            focusDocument(true);
        }
    });
    connect(m_pageFind, &FindBar::searchRequested, this, &DocumentTab::findInPreview);
    // A render may take the match away or add others: find it again and recount.
    connect(m_controller, &DocumentController::renderCompleted, this, [this] {
        if (m_pageFind->isVisible())
            findInPage(m_pageSearched, false, true);
    });
    connect(this, &DocumentTab::findFinished, m_pageFind, &FindBar::setCount);
    connect(m_pageFind, &FindBar::closeRequested, this, [this] { m_panels->setShowFind(false); });
    connect(m_editorFind, &FindBar::searchRequested, this,
            [this](const QString &text, bool backwards) { findInEditor(text, backwards, false); });
    connect(m_editorFind, &FindBar::textTyped, this,
            [this](const QString &text) { findInEditor(text, false, true); });
    connect(m_editorFind, &FindBar::closeRequested, this, [this] {
        m_editorFind->hide();
        m_editor->setFocus();
    });
    // Escape closes a find bar from anywhere in the tab; only while one is open, so
    // that the sidebar and the panels keep their own Escape.
    m_closeFind = new QShortcut(QKeySequence(Qt::Key_Escape), this, nullptr, nullptr,
                                Qt::WidgetWithChildrenShortcut);
    m_closeFind->setEnabled(false);
    connect(m_closeFind, &QShortcut::activated, this, [this] {
        if (m_editorFind->isVisible())
            Q_EMIT m_editorFind->closeRequested();
        else
            m_panels->setShowFind(false);
    });
    m_pageFind->installEventFilter(this);
    m_editorFind->installEventFilter(this);

    // Focus given before the engine made its widget stays on the bare view, deaf to keys.
    connect(page, &QWebEngineView::loadFinished, this, [page] {
        if (QApplication::focusWidget() == page && page->focusProxy())
            page->focusProxy()->setFocus();
    });

    // Nothing to read yet: say how to begin.
    auto *hint = new EmptyHint(page);
    const auto showHint = [this, hint] {
        const OpenDocument *shown = this->document();
        hint->setVisible(m_controller->mode() == DocumentController::Mode::Read && shown &&
                         shown->isUntitled() && shown->text().isEmpty());
        hint->raise();
    };
    connect(document, &OpenDocument::textChanged, hint, showHint);
    connect(document, &OpenDocument::pathChanged, hint, showHint);
    connect(m_controller, &DocumentController::modeChanged, hint, showHint);
    showHint();

    showMode(m_controller->mode());
    updateSidebar();
    m_controller->scheduleRender(true);
}

void DocumentTab::showMode(DocumentController::Mode mode)
{
    m_editorPane->setVisible(mode == DocumentController::Mode::Edit);
    updateSidebar();
    focusDocument(true);
}

void DocumentTab::focusDocument(bool always)
{
    const QWidget *focus = QApplication::focusWidget();
    if (!always && focus && isAncestorOf(focus) && !m_panes->isAncestorOf(focus))
        return;
    if (m_controller->mode() == DocumentController::Mode::Edit) {
        m_editor->setFocus();
        return;
    }
    // The page's keys go to the engine's own widget, which exists once a page loads.
    QWidget *page = m_view;
    (page->focusProxy() ? page->focusProxy() : page)->setFocus();
}

void DocumentTab::showFind()
{
    if (m_controller->mode() == DocumentController::Mode::Edit && m_editor->hasFocus())
        m_editorFind->open();
    else if (m_panels->showFind())
        m_pageFind->open();
    else
        m_panels->setShowFind(true);
}

void DocumentTab::findNext(bool backwards)
{
    const bool inEditor = m_controller->mode() == DocumentController::Mode::Edit &&
                          (m_editor->hasFocus() || m_editorFind->isVisible());
    if (inEditor)
        findInEditor(m_editorFind->text(), backwards, false);
    else
        findInPreview(m_pageFind->text(), backwards);
}

void DocumentTab::findInPreview(const QString &text, bool backwards)
{
    findInPage(text, backwards, false);
}

void DocumentTab::findInPage(const QString &text, bool backwards, bool again)
{
    if (text.isEmpty() || !m_controller->isReady())
        return;
    m_pageSearched = text;
    // The page's own find: the engine's would lay out every part of a long document
    // that the page keeps skipped.
    const QString options = QStringLiteral(", {\"backwards\": %1, \"again\": %2}")
                                .arg(backwards ? u"true" : u"false", again ? u"true" : u"false");
    m_controller->page()->callAwaited(
        QStringLiteral("find"), PageScript::json(text) + options,
        [self = QPointer<DocumentTab>(this)](const QJsonValue &value, const QString &) {
            // Nothing when a newer search replaced this one, or the page went away.
            const QJsonObject result = value.toObject();
            if (self && result.contains(QLatin1String("matches")))
                Q_EMIT self->findFinished(result.value(QLatin1String("active")).toInt(),
                                          result.value(QLatin1String("matches")).toInt());
        });
}

void DocumentTab::findInEditor(const QString &text, bool backwards, bool fromSelectionStart)
{
    if (text.isEmpty()) {
        m_editorFind->setFound(true);
        return;
    }
    const QTextDocument::FindFlags flags =
        backwards ? QTextDocument::FindBackward : QTextDocument::FindFlags();
    QTextCursor from = m_editor->textCursor();
    // Typing narrows the current match rather than jumping past it.
    if (fromSelectionStart)
        from.setPosition(from.selectionStart());
    QTextCursor match = m_editor->document()->find(text, from, flags);
    if (match.isNull()) {
        // Around the end, as a reader expects.
        QTextCursor wrap(m_editor->document());
        if (backwards)
            wrap.movePosition(QTextCursor::End);
        match = m_editor->document()->find(text, wrap, flags);
    }
    m_editorFind->setFound(!match.isNull());
    if (!match.isNull())
        m_editor->setTextCursor(match);
}

QJsonObject DocumentTab::probe() const
{
    const bool editing = m_controller->mode() == DocumentController::Mode::Edit;
    QJsonObject state;
    state.insert(QLatin1String("mode"), editing ? QLatin1String("edit") : QLatin1String("read"));
    state.insert(QLatin1String("editorTop"), EditorView::topLine(m_editor));
    state.insert(QLatin1String("caretLine"), m_editor->textCursor().blockNumber());
    state.insert(QLatin1String("pageFind"), m_pageFind->isVisible());
    state.insert(QLatin1String("findCount"), m_pageFind->countText());
    state.insert(QLatin1String("editorFind"), m_editorFind->isVisible());
    return state;
}

bool DocumentTab::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show || event->type() == QEvent::Hide)
        m_closeFind->setEnabled(m_pageFind->isVisibleTo(this) || m_editorFind->isVisibleTo(this));
    return QWidget::eventFilter(watched, event);
}

void DocumentTab::updateSidebar()
{
    const int sidebar = std::clamp(static_cast<int>(Preferences::shared().sidebarWidth()),
                                   sidebarMinimumWidth, sidebarMaximumWidth);
    const int room =
        m_controller->mode() == DocumentController::Mode::Edit ? editingRoom : readingRoom;
    // A tab not on screen has no width that means anything yet.
    const bool fits = !isVisible() || width() - sidebar >= room;
    m_sidebar->setVisible(m_panels->sidebarVisible() && fits);
}

void DocumentTab::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    updateSidebar();
}

} // namespace Lumo::App
