// A group of users: a row of KOVAD_OBJECT of type "USERGROUP". Rights on objects are given to groups.
#pragma once

#include <string>

#include "model/m2mkovadobject.h"

class M2MUserGroup : public M2MKovadObject {
  public:
    M2MUserGroup() = default;
    // A group with this ID, loaded as far as the database has it.
    explicit M2MUserGroup(long id);
    explicit M2MUserGroup(const M2MUserGroup* other);

    // Loads the group. 0; after logging 13 (database), 16 (no such group) or 10 (row without ID).
    int readFromDB(long id);

    std::string getName() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }

  private:
    std::string name_;
};
