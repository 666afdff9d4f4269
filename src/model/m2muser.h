// A local user in whose name a neighbour acts: a row of KOVAD_OBJECT of type "USER" with the groups that it belongs to.
// The core checks its password; its groups decide what it may reach. The client browser holds one.
#pragma once

#include <list>
#include <string>

#include "model/m2mkovadobject.h"
#include "model/m2musergroup.h"

namespace libenvdb {
class db_request;
}

class M2MUser : public M2MKovadObject {
  public:
    // An empty user: ID -1, no name, no groups.
    M2MUser() = default;
    // The user with this ID and its groups, as far as the database has them: test getID().
    explicit M2MUser(long id);
    // Copies ID, name and groups; null gives an empty user.
    explicit M2MUser(const M2MUser* other);

    // Loads the user by name, then checks the password with the core. 0; after logging 13 (database), 16 (no such
    // user), 10 (row without ID) or 29 (wrong password).
    int readFromDB(const std::string& username, const std::string& password);
    // Loads the user by ID, without a password check. Same codes.
    int readFromDB(long id);
    // Appends the groups that the user belongs to. 0; after logging 13, or 16 when it belongs to none.
    int readUserGroupFromDB();

    // Asks the core whether the password is this user's. False also when the core does not answer.
    bool checkUsernameAndPasswordValidity(const std::string& password) const;
    // Whether one of the user's groups has a right on the object. False also when the database does not answer.
    bool checkPermissionForObjectID(long objectid) const;

    std::string getUsername() const { return username_; }
    void setUsername(std::string username) { username_ = std::move(username); }
    // The groups; owned by the user.
    const std::list<M2MUserGroup>* getUserGroupList() const { return &userGroupList_; }
    // Copies the list; null clears it.
    void setUserGroupList(const std::list<M2MUserGroup>* groups);

  private:
    int takeFirstRow(const libenvdb::db_request& answer, const std::string& noRow, const char* unreadableRow);

    std::string username_;
    std::list<M2MUserGroup> userGroupList_;
};

// The credential that stands for a password in front of the core: "{SHA}" and the base64 of the SHA-1 digest up to its
// first zero byte, where the digest ends as a text.
std::string password_credential(const std::string& password);
