// Pairs the records of two lists that have equal keys.
#pragma once

#include <cstddef>
#include <unordered_map>
#include <utility>
#include <vector>

namespace q7inspect {

using Places = std::vector<std::size_t>;  // in a list, ascending
using Pairs = std::vector<std::pair<std::size_t, std::size_t>>;

// The numbers from 0 up to the count.
inline Places allPlaces(std::size_t count) {
    Places places(count);
    for (std::size_t i = 0; i < count; ++i)
        places[i] = i;
    return places;
}

// Of several records with one key, the first of each list make a pair, then the second, and so on.
// What has found its partner leaves the lists of places; the pairs come in the order of the first.
// `keyA` and `keyB` give the key of a place. The cost does not depend on how often keys repeat.
template <class Hash, class KeyA, class KeyB>
Pairs pairUp(Places& placesA, Places& placesB, const KeyA& keyA, const KeyB& keyB) {
    constexpr std::size_t none = static_cast<std::size_t>(-1);
    // A chain for each key through the places of B, made from its end.
    std::unordered_map<decltype(keyB(0)), std::size_t, Hash> firstOf;
    std::vector<std::size_t> next(placesB.size(), none);
    for (std::size_t i = placesB.size(); i-- > 0;) {
        const auto [first, isNew] = firstOf.emplace(keyB(placesB[i]), i);
        if (!isNew) next[i] = std::exchange(first->second, i);
    }

    Pairs pairs;
    Places restA;
    std::vector<bool> isTaken(placesB.size(), false);
    for (const std::size_t place : placesA) {
        const auto first = firstOf.find(keyA(place));
        if (first == firstOf.end() || first->second == none) {
            restA.push_back(place);
            continue;
        }
        const std::size_t partner = std::exchange(first->second, next[first->second]);
        pairs.emplace_back(place, placesB[partner]);
        isTaken[partner] = true;
    }
    Places restB;
    for (std::size_t i = 0; i < placesB.size(); ++i) {
        if (!isTaken[i]) restB.push_back(placesB[i]);
    }
    placesA = std::move(restA);
    placesB = std::move(restB);
    return pairs;
}

}  // namespace q7inspect
