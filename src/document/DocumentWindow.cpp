#include "DocumentWindow.h"

#include <QFileInfo>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QPlainTextEdit>
#include <QScreen>

DocumentWindow::DocumentWindow(const MarkdownDocument &document, const QString &path,
                               QWidget *parent)
    : QMainWindow(parent)
    , m_text(new QPlainTextEdit(this))
{
    m_text->setReadOnly(true);
    m_text->setFrameShape(QFrame::NoFrame);
    m_text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_text->document()->setDocumentMargin(24);
    m_text->setPlainText(document.text);
    setCentralWidget(m_text);

    setWindowTitle(QFileInfo(path).fileName());
    setWindowFilePath(path);
    setMinimumSize(minimumWindowSize);
    QSize size = firstWindowSize;
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableSize());
    resize(size.expandedTo(minimumWindowSize));
}
