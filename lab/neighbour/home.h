// The home as a neighbour knows it from discovery, get-status and change-status: objects with values, actions, ranges,
// labels and children. Tolerant of whatever JSON a controller sends: what is missing is empty.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "neighbour/datagrams.h"
#include "neighbour/output.h"

namespace neighbour {

struct HomeObject {
    long long id = -1;
    std::string type;
    std::string name;
    std::string value;
    std::vector<std::string> actions;
    std::optional<std::string> range;                         // as in "0 to 100, step 5"
    std::vector<std::pair<std::string, std::string>> labels;  // value and what it is called
    std::string category;
    std::vector<HomeObject> items;     // parts of a complex object
    std::vector<HomeObject> contents;  // members of a group, when it was walked into
    bool shownElsewhere = false;       // a group that was already walked into on the way
};

// The "objects" of a discovery answer, a get-status answer or a change status.
std::vector<HomeObject> objects_of(const Json& datagram);

// "1 (On)": the value with its label, when it has one.
std::string value_with_label(const HomeObject& object);

// Rows for table_lines(): a headline, then each object with its parts and contents below it as a tree. The values
// of the IDs in `marked` get a star.
std::vector<Row> home_rows(const std::vector<HomeObject>& objects, const std::set<long long>& marked = {});

// IDs of all objects, parts and contents, each once, in the order of the tree.
std::vector<long long> all_ids(const std::vector<HomeObject>& objects);

// Takes over the values of `news` for each object of the same ID, wherever it is in the tree. Returns the IDs whose
// object was found.
std::set<long long> take_over_values(std::vector<HomeObject>& home, const std::vector<HomeObject>& news);

// Lines that tell what a notification says: one per object of a change status, one for an expiry, one for anything
// else. Labels come from `home` where it knows the object.
std::vector<std::string> describe_notification(const std::string& bytes, const std::vector<HomeObject>& home = {});

}  // namespace neighbour
