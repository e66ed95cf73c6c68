#pragma once

#include "document/MarkdownDocument.h"

#include <QMainWindow>

class QPlainTextEdit;

// A window showing one Markdown document as text.
class DocumentWindow : public QMainWindow
{
    Q_OBJECT

public:
    DocumentWindow(const MarkdownDocument &document, const QString &path,
                   QWidget *parent = nullptr);

    static constexpr QSize minimumWindowSize{420, 320};
    static constexpr QSize firstWindowSize{920, 1040};

private:
    QPlainTextEdit *m_text;
};
