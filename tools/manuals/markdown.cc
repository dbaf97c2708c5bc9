#include "manuals/markdown.h"

#include <md4c.h>

#include <stdexcept>
#include <string_view>
#include <vector>

#include "manuals/roff.h"

namespace vrn::manuals {
namespace {

// The last column takes the width that the others leave; only its cells have line breaks.
std::string table_text(const std::vector<std::vector<std::string>> &rows) {
    const std::size_t columns = rows.front().size();
    std::string text = ".TS\n";
    for (std::size_t i = 0; i < columns; ++i) text += i > 0 ? " lb" : "lb";
    text += "\n";
    for (std::size_t i = 0; i < columns; ++i) text += i + 1 < columns ? "l " : "lx.\n";
    for (const std::vector<std::string> &row : rows) {
        for (std::size_t i = 0; i + 1 < columns; ++i) text += row[i] + "\t";
        text += "T{\n" + row.back() + "\nT}\n";
    }
    return text + ".TE\n";
}

class Renderer {
  public:
    void enter(MD_BLOCKTYPE type, const void *detail) {
        switch (type) {
            case MD_BLOCK_H:
                level_ = static_cast<const MD_BLOCK_H_DETAIL *>(detail)->level;
                if (level_ > 2) throw std::runtime_error("headings are of two levels");
                heading_at_ = page_.size();
                break;
            case MD_BLOCK_P:
                page_ += ".PP\n";
                break;
            case MD_BLOCK_LI:
                page_ += ".IP \\(bu 2\n";
                break;
            case MD_BLOCK_CODE:
                page_ += ".PP\n.RS 4\n.EX\n";
                break;
            case MD_BLOCK_TABLE:
                rows_.clear();
                break;
            case MD_BLOCK_TR:
                rows_.emplace_back();
                break;
            case MD_BLOCK_TH:
            case MD_BLOCK_TD:
                rows_.back().emplace_back();
                cell_ = &rows_.back().back();
                break;
            case MD_BLOCK_DOC:
            case MD_BLOCK_UL:
            case MD_BLOCK_THEAD:
            case MD_BLOCK_TBODY:
            case MD_BLOCK_HTML:
                break;
            default:
                throw std::runtime_error("a kind of paragraph that manuals have no form for");
        }
    }

    void leave(MD_BLOCKTYPE type) {
        switch (type) {
            case MD_BLOCK_H:
                end_heading();
                break;
            case MD_BLOCK_P:
            case MD_BLOCK_LI:
                page_ += "\n";
                break;
            case MD_BLOCK_CODE:
                page_ += ".EE\n.RE\n";
                break;
            case MD_BLOCK_TABLE:
                page_ += table_text(rows_);
                break;
            case MD_BLOCK_TH:
            case MD_BLOCK_TD:
                cell_ = nullptr;
                break;
            default:
                break;
        }
    }

    void span(MD_SPANTYPE type, const char *font) {
        if (type != MD_SPAN_A) text() += font;
    }

    void add(MD_TEXTTYPE type, std::string_view words) {
        if (type == MD_TEXT_SOFTBR)
            text() += "\n";
        else if (type == MD_TEXT_NORMAL || type == MD_TEXT_CODE)
            text() += roff_text(words);
        else if (type != MD_TEXT_HTML)  // comments
            throw std::runtime_error("'" + std::string(words) + "' has no form in manuals");
    }

    const std::string &page() const { return page_; }

    std::string failure;  // of the last call

  private:
    std::string &text() { return cell_ ? *cell_ : page_; }

    void end_heading() {
        const std::string words = page_.substr(heading_at_);
        page_.resize(heading_at_);
        if (level_ == 2) page_ += ".SS " + words + "\n";
    }

    std::string page_;
    unsigned level_ = 0;  // of the heading
    std::size_t heading_at_ = 0;
    std::vector<std::vector<std::string>> rows_;  // of the table
    std::string *cell_ = nullptr;                 // that text goes into; null: into the page
};

// No exception may pass through the parser, which is C.
template <typename Work>
int caught(void *data, const Work &work) {
    auto *renderer = static_cast<Renderer *>(data);
    try {
        work(renderer);
        return 0;
    } catch (const std::exception &error) {
        renderer->failure = error.what();
        return -1;
    }
}

int enter_block(MD_BLOCKTYPE type, void *detail, void *data) {
    return caught(data, [&](Renderer *renderer) { renderer->enter(type, detail); });
}

int leave_block(MD_BLOCKTYPE type, void *, void *data) {
    return caught(data, [&](Renderer *renderer) { renderer->leave(type); });
}

int enter_span(MD_SPANTYPE type, void *, void *data) {
    return caught(data, [&](Renderer *renderer) { renderer->span(type, "\\fB"); });
}

int leave_span(MD_SPANTYPE type, void *, void *data) {
    return caught(data, [&](Renderer *renderer) { renderer->span(type, "\\fR"); });
}

int add_text(MD_TEXTTYPE type, const MD_CHAR *words, MD_SIZE size, void *data) {
    return caught(data, [&](Renderer *renderer) { renderer->add(type, {words, size}); });
}

}  // namespace

std::string roff_of_markdown(const std::string &markdown) {
    Renderer renderer;
    const MD_PARSER parser = {0,          MD_FLAG_TABLES, enter_block, leave_block, enter_span,
                              leave_span, add_text,       nullptr,     nullptr};
    if (md_parse(markdown.data(), static_cast<MD_SIZE>(markdown.size()), &parser, &renderer) != 0)
        throw std::runtime_error(renderer.failure);
    return renderer.page();
}

}  // namespace vrn::manuals
