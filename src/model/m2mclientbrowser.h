// What a neighbour is on this controller: an object of type "CLIENTBROWSER" with the neighbour's address and ID. Its
// relations record the local user in whose name the neighbour acts, with the login token, and the objects that the
// neighbour has registered for. Also finds the objects that the neighbour may see and forwards its actions to them. The
// client handler holds one.
//
// Unless stated otherwise the int operations return 0, or after logging 13 (database), 16 (not found, or an invalid ID)
// or 10 (an answer without the expected column).
#pragma once

#include <list>
#include <memory>
#include <string>

#include "model/m2mkovadobject.h"
#include "model/m2mremotableobject.h"
#include "model/m2muser.h"

class M2MClientBrowser : public M2MKovadObject {
  public:
    M2MClientBrowser();
    // The stored record with this ID, as far as the database has it: test getID().
    explicit M2MClientBrowser(long id);
    // Copies all fields, the user as a new copy; null gives an empty record.
    explicit M2MClientBrowser(const M2MClientBrowser* other);
    M2MClientBrowser(const M2MClientBrowser&) = delete;
    M2MClientBrowser& operator=(const M2MClientBrowser&) = delete;
    ~M2MClientBrowser() = default;

    // --- The object row

    // Stores a new row and sets the ID; 16 when the record is stored already.
    int insertOnDB();
    int updateOnDB();
    int insertOrUpdateOnDB();
    int deleteFromDB();
    // Loads the record and goes on to its user relation, so that a restarted runner knows user, token and relation.
    int readFromDB(long id);
    // Finds the client browser of a neighbour; with `load` it is then read like readFromDB does. True when found (and
    // read). The statement matches part of a text: neighbour 5 may find the client browser of neighbour 51.
    bool searchOnDBByNeighbourID(bool load, long neighbourid);
    // The same by this record's IP address.
    bool searchOnDBByIPAddress(bool load);

    // --- The user and the token

    // Loads the user by name, checks its password with the core and reads its groups. On success the user replaces the
    // one held. Codes of M2MUser::readFromDB and readUserGroupFromDB.
    int setUser(const std::string& username, const std::string& password);
    // Loads the user by ID, groups included.
    int setUser(long userid);
    // Stores a copy; null drops the user.
    void setUser(const M2MUser* user);
    // The user, or null; owned by this record.
    M2MUser* getUser() const { return user_.get(); }
    // ID of the user; -1 without one.
    long getUserID() const { return user_ ? user_->getID() : -1; }

    std::string getToken() const { return token_; }
    void setToken(std::string token) { token_ = std::move(token); }
    void clearToken() { token_.clear(); }
    // Draws a new token that shares its beginning with the current one. Returns 0.
    int generateNewToken();
    // Whether `token` is the current one, exactly.
    bool verifyToken(const std::string& token) const { return token == token_; }

    // Reads relation ID and token and, with `loadUser`, the user. True when the relation exists.
    bool searchRelationWithUserOnDB(bool loadUser);
    int insertRelationWithUserOnDB();
    int updateRelationWithUserOnDB();
    // Inserts or updates the relation, then has the core reload its login data, whatever became of the relation.
    // Returns the code of the former.
    int insertOrUpdateRelationWithUserOnDB();

    // --- Relations with remotable objects

    // `value` is the relation's action value, the object ID when negative.
    int insertRelationWithRemotableObjectOnDB(long objectid, long value, const std::string& accessmode);
    int updateRelationWithRemotableObjectOnDB(long objectid, long value, const std::string& accessmode);
    int insertOrUpdateRelationWithRemotableObjectOnDB(long objectid, long value, const std::string& accessmode);
    // True when the relation is stored.
    bool searchRelationWithRemotableObjectOnDB(long objectid) const;
    int deleteRelationWithRemotableObjectOnDB(long objectid);
    // Stores (deletes) the relation with each object and marks (unmarks) it in the cache when that went well. All are
    // handled; the first code that is not 0 is returned. Registering an object that cannot be read gives 10.
    int registerObjects(const std::list<long>* ids);
    int unregisterObjects(const std::list<long>* ids);
    int unregisterAllObjects();
    // Enables or disables all relations with objects, and marks or unmarks those objects that are cached.
    int setEnableAllRelationsRemotableObjectsOnDB(bool enable);
    // Deletes all relations of this record, with objects and with the user.
    int deleteAllRelationsFromDB();

    // --- What the neighbour sees and does

    // The visible objects in a context (a group), or the groups themselves for a negative ID, as far as the user may
    // see them. Null after logging when there are none or the database does not answer.
    std::unique_ptr<M2MRemotableObject::List> searchRemotableObjectsInContext(long contextid) const;
    // Performs `action` with `value` on the object, or on its element named `tag`. Code of
    // M2MRemotableObject::performAction; 16 when this record is not stored, 29 without a token, 10 for an unknown
    // object.
    int performAction(long objectid, const std::string& tag, const std::string& action, const std::string& value) const;

    std::string getIPAddress() const { return ipAddress_; }
    void setIPAddress(std::string address) { ipAddress_ = std::move(address); }
    std::string getName() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }
    // Row ID of the user relation; negative when there is none.
    long getUserRelationID() const { return userRelationID_; }
    void setUserRelationID(long id) { userRelationID_ = id; }

  private:
    bool idIsValid(const char* operation) const;
    bool userIsValid(const char* operation) const;
    bool takeSearchResult(const std::string& statement, const char* operation, const char* noIdText, bool load);
    std::string objectRelationCondition(long objectid) const;

    std::string ipAddress_;
    std::string name_;
    std::string token_;
    std::unique_ptr<M2MUser> user_;
    long userRelationID_ = -1;
};
