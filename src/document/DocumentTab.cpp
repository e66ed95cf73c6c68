#include "DocumentTab.h"

#include "app/Preferences.h"
#include "DiskChangeBanner.h"

#include <algorithm>
#include <cmath>
#include <QCoreApplication>
#include <QFontDatabase>
#include <QIcon>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSplitter>
#include <QTextBlock>
#include <QVBoxLayout>

namespace {

// What the sidebar shows while the document belongs to no folder.
QWidget *noFolderView(QWidget *parent)
{
    auto *view = new QWidget(parent);
    auto *icon = new QLabel(view);
    icon->setPixmap(QIcon::fromTheme(QStringLiteral("folder")).pixmap(32, 32));
    icon->setAlignment(Qt::AlignCenter);
    auto *text =
        new QLabel(QCoreApplication::translate(
                       "DocumentTab", "Save this file, or open a folder\nto browse its Markdown."),
                   view);
    text->setAlignment(Qt::AlignCenter);
    text->setForegroundRole(QPalette::PlaceholderText);
    auto *layout = new QVBoxLayout(view);
    layout->addStretch();
    layout->addWidget(icon);
    layout->addWidget(text);
    layout->addStretch();
    return view;
}

} // namespace

DocumentTab::DocumentTab(OpenDocument *document, bool startInEditMode, QWidget *parent)
    : QWidget(parent)
    , m_controller(new DocumentController(document, startInEditMode, this))
    , m_columns(new QSplitter(Qt::Horizontal, this))
    , m_sidebar(noFolderView(m_columns))
    , m_banner(new DiskChangeBanner(this))
    , m_panes(new QSplitter(Qt::Horizontal, this))
    , m_editor(new QPlainTextEdit(m_panes))
{
    document->setParent(m_controller);

    m_editor->setFrameShape(QFrame::NoFrame);
    m_editor->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_editor->setMinimumWidth(paneMinimumWidth);
    m_editor->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    m_editor->document()->setDocumentMargin(28);
    m_editor->setPlainText(document->text());
    m_editor->document()->setModified(false);

    QWebEngineView *page = m_controller->webView();
    page->setMinimumWidth(paneMinimumWidth);
    m_panes->addWidget(m_editor);
    m_panes->addWidget(page);
    m_panes->setChildrenCollapsible(false);
    m_panes->setSizes({520, 520});

    auto *area = new QWidget(m_columns);
    auto *areaLayout = new QVBoxLayout(area);
    areaLayout->setContentsMargins(0, 0, 0, 0);
    areaLayout->setSpacing(0);
    areaLayout->addWidget(m_banner);
    areaLayout->addWidget(m_panes, 1);
    m_banner->hide();

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

    m_controller->setEditor({[this] { return editorTopLine(); },
                             [this](double line) { scrollEditorToLine(line); },
                             [this](int line) { placeCaretAtLine(line); }});

    connect(m_editor, &QPlainTextEdit::textChanged, this, [this] {
        if (!m_updatingEditor)
            this->document()->setText(m_editor->toPlainText());
    });
    connect(document, &OpenDocument::textChanged, this, &DocumentTab::takeTextFromDocument);
    connect(m_editor->verticalScrollBar(), &QScrollBar::valueChanged, this, [this] {
        if (m_controller->mode() == DocumentController::Mode::Edit && m_editor->isVisible())
            m_controller->editorDidScroll(editorTopLine());
    });

    connect(m_controller, &DocumentController::modeChanged, this, &DocumentTab::showMode);
    connect(m_controller, &DocumentController::sidebarVisibleChanged, this,
            &DocumentTab::showSidebar);
    connect(m_controller, &DocumentController::diskChangePendingChanged, m_banner,
            &QWidget::setVisible);
    connect(m_controller, &DocumentController::openRequested, this, &DocumentTab::openRequested);
    connect(m_banner, &DiskChangeBanner::reloadClicked, this,
            [this] { m_controller->reloadFromDisk(true); });
    connect(m_banner, &DiskChangeBanner::keepMineClicked, this,
            [this] { m_controller->setDiskChangePending(false); });

    showMode(m_controller->mode());
    showSidebar(m_controller->sidebarVisible());
    m_controller->scheduleRender(true);
}

void DocumentTab::showMode(DocumentController::Mode mode)
{
    const bool editing = mode == DocumentController::Mode::Edit;
    m_editor->setVisible(editing);
    if (editing)
        m_editor->setFocus();
    else
        m_controller->webView()->setFocus();
}

void DocumentTab::showSidebar(bool visible)
{
    m_sidebar->setVisible(visible);
}

void DocumentTab::takeTextFromDocument()
{
    const QString text = document()->text();
    if (text == m_editor->toPlainText())
        return;
    // Replaced from outside (reload, a ticked task box): keep the caret where it was,
    // as far as the new text reaches.
    const int position = m_editor->textCursor().position();
    const int scroll = m_editor->verticalScrollBar()->value();
    m_updatingEditor = true;
    m_editor->setPlainText(text);
    m_updatingEditor = false;
    QTextCursor cursor = m_editor->textCursor();
    cursor.setPosition(std::min(position, static_cast<int>(text.size())));
    m_editor->setTextCursor(cursor);
    m_editor->verticalScrollBar()->setValue(scroll);
}

double DocumentTab::editorTopLine() const
{
    const QTextBlock block = m_editor->cursorForPosition(QPoint(0, 0)).block();
    return block.isValid() ? block.blockNumber() : 0.0;
}

void DocumentTab::scrollEditorToLine(double line)
{
    const QTextBlock block =
        m_editor->document()->findBlockByNumber(static_cast<int>(std::floor(line)));
    if (block.isValid())
        m_editor->verticalScrollBar()->setValue(block.firstLineNumber());
}

void DocumentTab::placeCaretAtLine(int line)
{
    const QTextBlock block = m_editor->document()->findBlockByNumber(line);
    if (!block.isValid())
        return;
    QTextCursor cursor(block);
    m_editor->setTextCursor(cursor);
}
