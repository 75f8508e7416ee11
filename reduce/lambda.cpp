// A table by address. A place first notes which node was applied last, and holds it, with its code,
// from the second time on: so an address in use can't come to stand for another node. Held nodes
// and their code stay, since closures name the code's parts; there are as many as places.
#include "reduce/lambda.h"

#include <array>

#include "reduce/analysis.h"
#include "value/value.h"

namespace marl {

namespace {

struct Place {
    const Node* seen = nullptr;
    Value lambda;
    std::unique_ptr<Unit> unit;
};

constexpr size_t place_count = 256;
std::array<Place, place_count> places;

Place& place_of(const Node* lambda) {
    constexpr uint64_t golden = 0x9E3779B97F4A7C15;
    return places[(word_of(lambda) * golden) >> 56];
}

}  // namespace

Unit* unit_of_lambda(Node* lambda) {
    Place& place = place_of(lambda);
    if (place.lambda.get() == lambda) return place.unit.get();
    if (place.lambda || count_of(lambda) < 2 || !is_closed(lambda)) return nullptr;
    if (place.seen != lambda) {
        place.seen = lambda;
        return nullptr;
    }
    place.lambda = Value::share(lambda);
    place.unit = make_lambda_unit(lambda);
    return place.unit.get();
}

void clear_lambda_units() {
    for (Place& place : places) place = {};
}

}  // namespace marl
