#include "vrn_serve/site.h"

#include <openssl/evp.h>
#include <openssl/sha.h>

#include <array>
#include <charconv>
#include <new>
#include <set>
#include <span>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include "common/shown_text.h"
#include "metrics/chart/chart_page.h"
#include "utils/log.h"
#include "vrn_serve/csv_text.h"
#include "vrn_serve/open_metrics.h"

namespace vrn::serve {
namespace {

// Of a request in the log: the client chooses how long method and path are.
constexpr std::size_t shown_request_size = 200;
// Pages with more load the points of the metrics that are chosen. Building one holds up the store,
// which these take some 20 ms of.
constexpr std::uint64_t max_page_points = 100'000;

// As a policy names a script: nothing else runs, whatever gets into the page.
std::string script_source(std::string_view script) {
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest;
    SHA256(reinterpret_cast<const unsigned char *>(script.data()), script.size(), digest.data());
    std::array<unsigned char, 4 * ((SHA256_DIGEST_LENGTH + 2) / 3) + 1> text;
    EVP_EncodeBlock(text.data(), digest.data(), digest.size());
    return " 'sha256-" + std::string(reinterpret_cast<const char *>(text.data())) + "'";
}

std::string policy_of(std::string_view html) {
    constexpr std::string_view begin = "<script>";
    constexpr std::string_view end = "</script>";
    std::string sources;
    for (std::size_t at = html.find(begin); at != std::string_view::npos;) {
        const std::string_view rest = html.substr(at + begin.size());
        const std::size_t size = rest.find(end);
        sources += script_source(rest.substr(0, size));
        at = size == std::string_view::npos ? size : html.find(begin, at + begin.size() + size);
    }
    // The handler of both selectors. Styles are set by the scripts.
    return "default-src 'none'; script-src 'unsafe-hashes'" + script_source("updateChart()") +
           sources +
           "; style-src 'unsafe-inline'; img-src data:; connect-src 'self'; base-uri 'none'; "
           "form-action 'none'; frame-ancestors 'none'";
}

std::string query_value(const Request &request, const char *name) {
    const auto found = request.query.find(name);
    return found == request.query.end() ? "" : found->second;
}

// The names in a list of texts that are encoded each, with commas between them.
std::set<std::string> decoded_list(std::string_view list) {
    std::set<std::string> names;
    for (;;) {
        const std::size_t comma = list.find(',');
        // A name that isn't well encoded is none of ours.
        if (const auto name = percent_decoded(list.substr(0, comma))) names.insert(*name);
        if (comma == std::string_view::npos) return names;
        list.remove_prefix(comma + 1);
    }
}

// What is kept, and what had to go.
std::string notice_of(const StoreState &state) {
    constexpr std::uint64_t second_us = 1'000'000;
    std::string notice = state.is_short_of_memory
                             ? "Memory is short (--max-memory): the oldest samples went first. "
                             : "";
    notice += "Each series keeps its newest " + std::to_string(state.samples_limit) + " samples";
    if (state.keep_us > 0)
        notice += " of the last " + std::to_string(state.keep_us / second_us) + " s";
    notice += ".";
    // Those were counted since the start, also before the store was cleared.
    if (state.is_short_of_memory && state.refused_series > 0)
        notice += " Some series found no room.";
    return notice;
}

// The object of write_chart_points() in pieces, of one metric each: others that want the store get
// their turn between them.
class PointsText {
  public:
    PointsText(const LiveStore *store, std::vector<std::uint64_t> ids)
        : store_(store), ids_(std::move(ids)) {}

    bool operator()(std::string *piece) {
        if (has_ended_) return false;
        piece->assign(next_ == 0 ? "{" : "");
        for (std::string members; members.empty() && next_ < ids_.size(); ++next_) {
            members = members_of(ids_[next_]);
            if (members.empty()) continue;
            piece->append(std::exchange(separator_, ",")).append(members);
        }
        has_ended_ = next_ == ids_.size();
        if (has_ended_) piece->append("}\n");
        return true;
    }

  private:
    // Of the object of one metric, which has one at most.
    std::string members_of(std::uint64_t id) const {
        std::ostringstream out;
        store_->read([&](const metrics::MetricsHistory &store) {
            metrics::write_chart_points(out, store, std::span(&id, 1));
        });
        // A stream in memory fails for want of memory only.
        if (!out) throw std::bad_alloc();
        const std::string text = std::move(out).str();
        const std::size_t begin = text.find('"');
        return begin == std::string::npos ? "" : text.substr(begin, text.rfind(']') + 1 - begin);
    }

    const LiveStore *store_;
    std::vector<std::uint64_t> ids_;
    std::size_t next_ = 0;
    const char *separator_ = "";
    bool has_ended_ = false;
};

// `methods` are names with ", " between them.
bool allows(std::string_view methods, const std::string &method) {
    // With its borders, so that no part of a method's name will do.
    return (", " + std::string(methods) + ",").find(" " + method + ",") != std::string::npos;
}

}  // namespace

struct Site::Route {
    enum Need : std::uint8_t { nothing, token };

    std::string_view path_end;
    std::string_view methods;
    Need need;
    std::string_view login_path;  // from a path that ends so
    Answer (Site::*answer)(const Request &request);
};

Site::Site(SiteOptions options, LiveStore *store, std::function<FollowState()> file_state)
    : access_(std::move(options.access)),
      shows_first_(std::move(options.shows_first)),
      store_(store),
      file_state_(std::move(file_state)) {}

const Site::Route *Site::find_route(const std::string &path) {
    // The first that fits counts, so "/", with which any path may end, stands last.
    static constexpr Route routes[] = {
        {"/rta/metrics/dump", "GET, HEAD, POST", Route::token, "../../login", &Site::dump},
        {"/rta/metrics/dump/csv", "GET, HEAD", Route::token, "../../../login", &Site::csv},
        {"/rta/metrics/data", "GET, HEAD", Route::token, "../../login", &Site::points},
        // Not HEAD, which clients take for harmless.
        {"/rta/metrics/clear", "GET", Route::token, "../../login", &Site::clear},
        {"/metrics", "GET, HEAD", Route::token, "login", &Site::newest_values},
        {"/healthz", "GET, HEAD", Route::nothing, "", &Site::health},
        {"/login", "GET, HEAD, POST", Route::nothing, "", &Site::login},
        {"/favicon.ico", "GET, HEAD", Route::nothing, "", &Site::icon},
        {"/", "GET, HEAD", Route::nothing, "", &Site::root},
    };
    for (const Route &route : routes)
        if (path.ends_with(route.path_end)) return &route;
    return nullptr;
}

Answer Site::answer(const Request &request) {
    Answer answer = answer_by_route(request);
    const std::string shown = (request.method + " " + request.path).substr(0, shown_request_size);
    VRN_LOG(VRN_LOG_DEBUG, "%s: %u", tool::shown_text(shown).c_str(), answer.status);
    // With every answer: what a token guards stays out of caches and of other sites' pages.
    answer.fields.insert(answer.fields.end(), {{"Cache-Control", "no-store"},
                                               {"X-Content-Type-Options", "nosniff"},
                                               {"Referrer-Policy", "same-origin"},
                                               {"Cross-Origin-Resource-Policy", "same-origin"},
                                               {"Cross-Origin-Opener-Policy", "same-origin"}});
    return answer;
}

Answer Site::answer_by_route(const Request &request) {
    // Strangers learn nothing, not even which paths there are.
    if (std::optional<Answer> refusal = access_.refuse_stranger(request)) return *refusal;
    const Route *route = find_route(request.path);
    if (!route) return text_answer(404, "There is nothing here; the page is at /.");
    if (!allows(route->methods, request.method)) {
        Answer answer =
            text_answer(405, "That can't be done here, only " + std::string(route->methods) + ".");
        answer.fields.emplace_back("Allow", route->methods);
        return answer;
    }
    if (route->need == Route::token)
        if (auto refusal = access_.refuse_without_token(request, std::string(route->login_path)))
            return *refusal;
    return (this->*route->answer)(request);
}

Answer Site::dump(const Request &request) {
    // The page tells that it is about to be loaded anew; ours are never old.
    if (request.method == "POST")
        return {.status = 204, .fields = {}, .body = {}, .next_piece = {}};
    const std::shared_ptr<const Page> current = page();
    return {.status = 200,
            .fields = {{"Content-Type", "text/html; charset=utf-8"},
                       {"Content-Security-Policy", current->policy}},
            // Shares the page: it lives until the last byte was sent.
            .body = std::shared_ptr<const std::string>(current, &current->html),
            .next_piece = {}};
}

// Clients that ask at the same time share a page that was begun after each of them had asked.
std::shared_ptr<const Site::Page> Site::page() {
    const auto asked = Clock::now();
    const std::lock_guard guard(page_mutex_);
    // Taken before the page is made: by what comes meanwhile the page counts as old.
    const std::uint64_t version = store_->version();
    if (newest_page_ && (newest_page_->version == version || newest_page_->begun >= asked))
        return newest_page_;
    auto made = std::make_shared<Page>();
    made->begun = Clock::now();
    made->version = version;
    std::ostringstream out;
    const metrics::ChartPageOptions options = {.is_live = true,
                                               .max_script_points = max_page_points,
                                               .shows_first = shows_first_,
                                               .notice = notice_of(store_->state())};
    store_->read([&](const metrics::MetricsHistory &store) {
        metrics::write_chart_page(out, store, options);
    });
    if (!out) throw std::bad_alloc();
    made->html = std::move(out).str();
    made->policy = policy_of(made->html);
    newest_page_ = made;
    return made;
}

Answer Site::csv(const Request &request) {
    const std::string type = query_value(request, "type");
    if (!type.empty() && type != "all" && type != "selected")
        return text_answer(400, "The type is 'all' or 'selected'.");
    const std::set<std::string> names = decoded_list(query_value(request, "metrics"));
    const auto takes = [&](const std::string &name) {
        return type != "selected" || names.contains(name);
    };
    return {.status = 200,
            .fields = {{"Content-Type", "text/csv; charset=utf-8; header=present"},
                       {"Content-Disposition", "attachment; filename=\"metrics.csv\""}},
            .body = {},
            .next_piece = make_csv(store_, takes)};
}

Answer Site::points(const Request &request) {
    std::vector<std::uint64_t> ids;
    for (const std::string &text : decoded_list(query_value(request, "metrics"))) {
        std::uint64_t id = 0;
        const char *const end = text.data() + text.size();
        const auto [rest, error] = std::from_chars(text.data(), end, id);
        if (error != std::errc() || rest != end)
            return text_answer(400, "The metrics are ids with commas between them.");
        ids.push_back(id);
    }
    return {.status = 200,
            .fields = {{"Content-Type", "application/json"}},
            .body = {},
            .next_piece = PointsText(store_, std::move(ids))};
}

Answer Site::clear(const Request &request) {
    // Where no token is needed, a link on any site could otherwise have a browser empty the store.
    if (std::optional<Answer> refusal = access_.refuse_without_origin(request)) return *refusal;
    store_->clear();
    return text_answer(200, "The store is empty.");
}

Answer Site::newest_values(const Request &request) {
    const std::string *accepted = request.field("accept");
    const bool is_open =
        accepted && accepted->find("application/openmetrics-text") != std::string::npos;
    const MetricsForm form = is_open ? MetricsForm::open_metrics : MetricsForm::plain;
    return {.status = 200,
            .fields = {{"Content-Type", content_type_of(form)}},
            .body = std::make_shared<const std::string>(metrics_text(*store_, file_state_(), form)),
            .next_piece = {}};
}

// Says nothing of the data: it is for anyone.
Answer Site::health(const Request & /*request*/) {
    return text_answer(200, file_state_().has_caught_up ? "ok" : "ok, reading what was there");
}

Answer Site::login(const Request &request) {
    return request.method == "POST" ? access_.login(request) : access_.login_form();
}

Answer Site::root(const Request & /*request*/) {
    Answer answer = text_answer(302, "The page is at rta/metrics/dump.");
    answer.fields.emplace_back("Location", "rta/metrics/dump");
    return answer;
}

// Browsers ask for it without being told to: no error in their consoles.
Answer Site::icon(const Request & /*request*/) {
    return {.status = 204, .fields = {}, .body = {}, .next_piece = {}};
}

}  // namespace vrn::serve
