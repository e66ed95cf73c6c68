#include "PDFOutline.h"

#include "PDFBytes.h"

#include <exception>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFNameTreeObjectHelper.hh>

namespace Lumo::Document::PDFOutline {

namespace {

// Destinations live in the catalog's /Dests dictionary (older style, what the
// print engine writes) or in the /Names /Dests name tree. Their names are the link
// fragments, so percent-encoded beyond ASCII; keys here are decoded.
std::map<QString, QPDFObjectHandle> namedDestinations(QPDF &document)
{
    const auto decoded = [](const std::string &name) {
        return QString::fromUtf8(QByteArray::fromPercentEncoding(QByteArray::fromStdString(name)));
    };
    std::map<QString, QPDFObjectHandle> found;
    QPDFObjectHandle root = document.getRoot();
    QPDFObjectHandle dests = root.getKeyIfDict("/Dests");
    if (dests.isDictionary()) {
        for (const auto &[key, value] : dests.getDictAsMap())
            found.emplace(decoded(key.substr(1)), value);
    }
    QPDFObjectHandle tree = root.getKeyIfDict("/Names").getKeyIfDict("/Dests");
    if (tree.isDictionary()) {
        QPDFNameTreeObjectHelper names(tree, document);
        for (const auto &[key, value] : names)
            found.emplace(decoded(key), value);
    }
    // A destination may be wrapped as << /D [...] >>.
    for (auto &[key, value] : found) {
        if (value.isDictionary() && value.hasKey("/D"))
            value = value.getKey("/D");
    }
    return found;
}

struct Node
{
    QPDFObjectHandle item;
    int level;
    QPDFObjectHandle first;
    QPDFObjectHandle last;
    int count = 0;
};

void append(Node &parent, QPDFObjectHandle item)
{
    item.replaceKey("/Parent", parent.item);
    if (parent.last.isInitialized() && !parent.last.isNull()) {
        parent.last.replaceKey("/Next", item);
        item.replaceKey("/Prev", parent.last);
    } else {
        parent.first = item;
    }
    parent.last = item;
}

void close(Node &node)
{
    if (!node.first.isInitialized() || node.first.isNull())
        return;
    node.item.replaceKey("/First", node.first);
    node.item.replaceKey("/Last", node.last);
    node.item.replaceKey("/Count", QPDFObjectHandle::newInteger(node.count));
}

} // namespace

std::optional<QByteArray> add(const QByteArray &pdf, const QList<OutlineItem> &headings,
                              QString *error)
{
    try {
        QPDF document;
        document.setSuppressWarnings(true);
        document.processMemoryFile("export.pdf", pdf.constData(), static_cast<size_t>(pdf.size()));
        const auto destinations = namedDestinations(document);

        // A stack of open levels; every bookmark is counted open, so the reader shows
        // the whole tree expanded.
        std::vector<Node> stack;
        stack.push_back(
            {document.makeIndirectObject(QPDFObjectHandle::parse("<< /Type /Outlines >>")),
             0,
             {},
             {},
             0});
        bool any = false;
        for (const OutlineItem &heading : headings) {
            const auto destination = destinations.find(heading.id);
            if (destination == destinations.end())
                continue;
            while (stack.size() > 1 && stack.back().level >= heading.level) {
                close(stack.back());
                const int count = stack.back().count;
                stack.pop_back();
                stack.back().count += count;
            }
            QPDFObjectHandle item = document.makeIndirectObject(QPDFObjectHandle::newDictionary());
            item.replaceKey("/Title",
                            QPDFObjectHandle::newUnicodeString(heading.text.toStdString()));
            item.replaceKey("/Dest", destination->second);
            append(stack.back(), item);
            stack.back().count += 1;
            stack.push_back({item, heading.level, {}, {}, 0});
            any = true;
        }
        if (!any)
            return pdf;
        while (stack.size() > 1) {
            close(stack.back());
            const int count = stack.back().count;
            stack.pop_back();
            stack.back().count += count;
        }
        close(stack.back());
        QPDFObjectHandle root = document.getRoot();
        root.replaceKey("/Outlines", stack.back().item);
        root.replaceKey("/PageMode", QPDFObjectHandle::newName("/UseOutlines"));
        return pdfBytes(document);
    } catch (const std::exception &failure) {
        if (error)
            *error = QString::fromLocal8Bit(failure.what());
        return std::nullopt;
    }
}

} // namespace Lumo::Document::PDFOutline
