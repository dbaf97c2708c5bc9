#include "vrn_check/schema_guess.h"

#include <algorithm>
#include <span>

namespace vrn::check {
namespace {

// More would take too long for a file that names none.
constexpr std::size_t max_candidates = 64;

class Guess {
  public:
    Guess(const std::function<Misfit(const FoundHeader &)> &misfit, FoundHeader *header)
        : misfit_(misfit), header_(header), least_(misfit(*header)) {}

    bool fits_all() const { return least_.left_out == 0; }

    // Nothing to do where a schema is named. False when none fits.
    bool fill(const SchemaIdList &known, vrn_schema_id_t *place) {
        if (known.has(*place)) return true;
        if (header_->keeps(*place)) return false;
        vrn_schema_id_t best = *place;
        const std::size_t count = std::min(known.ids().size(), max_candidates);
        for (const vrn_schema_id_t &id : std::span(known.ids()).first(count)) {
            *place = id;
            const Misfit found = misfit_(*header_);
            const bool is_better =
                found.left_out < least_.left_out ||
                (found.left_out == least_.left_out && known.has(best) && found.kept < least_.kept);
            if (!is_better) continue;
            least_ = found;
            best = id;
        }
        *place = best;
        return known.has(best);
    }

  private:
    const std::function<Misfit(const FoundHeader &)> &misfit_;
    FoundHeader *header_;
    Misfit least_;
};

}  // namespace

void guess_schemas(const KnownSchemas &known,
                   const std::function<Misfit(const FoundHeader &)> &misfit, FoundHeader *header) {
    Guess guess(misfit, header);
    if (guess.fits_all()) return;
    static_cast<void>(guess.fill(known.counters, &header->fields.counters_schema_id));
    for (vrn_schema_id_t &id : header->fields.event_schema_ids)
        if (!guess.fill(known.events, &id)) return;  // places are used in order
}

}  // namespace vrn::check
