#pragma once

#include "OutlineItem.h"

#include <optional>
#include <QByteArray>
#include <QList>

// The bookmark outline of a printed PDF, built from the document's headings. The
// print engine writes a named destination for every element that a link in the
// page points at; each heading whose id has one becomes a bookmark to that spot,
// nested by heading level. Headings without a destination are left out.
//
// Pure functions, safe on any thread.
namespace Lumo::Document::PDFOutline {

// The PDF with an /Outlines tree of the headings, opened in the reader's bookmark
// pane; the same bytes when no heading has a destination; nullopt with an error
// when the bytes are not a PDF qpdf can read.
std::optional<QByteArray> add(const QByteArray &pdf, const QList<OutlineItem> &headings,
                              QString *error);

} // namespace Lumo::Document::PDFOutline
