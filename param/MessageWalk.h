// Finding the keys of a message among the registered names, in ascending order of the names.
#pragma once

#include <algorithm>
#include <vector>

namespace lx2 {

// Calls visit(name, field, text) for every entry of fields whose name the message has. Looks up
// each key of the message, so the cost follows the message and not the number of registered names.
template <typename Fields, typename Message, typename Visit>
void VisitByKey(const Fields& fields, const Message& message, const Visit& visit) {
    struct Hit {
        typename Fields::const_pointer entry;
        typename Message::const_pointer key;
    };
    std::vector<Hit> hits;
    for (const auto& key : message) {
        const auto entry = fields.find(key.first);
        if (entry != fields.end())
            hits.push_back({&*entry, &key});
    }
    std::sort(hits.begin(), hits.end(), [](const Hit& left, const Hit& right) {
        return left.entry->first < right.entry->first;
    });
    for (const Hit& hit : hits)
        visit(hit.entry->first, hit.entry->second, hit.key->second);
}

// The plain form of the same, against which the above is tested and measured: asks the message for
// every registered name.
template <typename Fields, typename Message, typename Visit>
void VisitByName(const Fields& fields, const Message& message, const Visit& visit) {
    for (const auto& [name, field] : fields) {
        const auto key = message.find(name);
        if (key != message.end())
            visit(name, field, key->second);
    }
}

}  // namespace lx2
