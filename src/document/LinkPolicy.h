#pragma once

#include <functional>
#include <QUrl>

class QWidget;

// What a click on a link in the reading page does. Web and mail links go to the
// desktop at once; other schemes only after the user agrees; local files open here
// when they are Markdown, with their application when they are harmless documents
// or media, and are otherwise only shown in the file manager, so a document can
// never launch a program.
namespace Lumo::Document::LinkPolicy {

enum class Action {
    OpenExternally,     // http, https, mailto
    Confirm,            // another scheme: ask first
    OpenDocument,       // a Markdown file: open it in Lumo
    OpenWithDefaultApp, // an openable file
    Reveal,             // anything else: show it in the file manager
};

// The decision alone, from the URL and, for files, the file's type and nature.
Action decide(const QUrl &url);

// For files: the decision on the standardised local path.
Action decideForFile(const QString &path);

// Carries out the decision. openDocument receives the path of a Markdown file.
void open(const QUrl &url, QWidget *window,
          const std::function<void(const QString &)> &openDocument);

} // namespace Lumo::Document::LinkPolicy
