// A neighbour: the remote controller that a runner talks to, one row of KOVAD_NEIGHBOUR. The client handler holds one;
// it is loaded before each datagram, written by an attach and a detach, and deleted by a clear-all.
#pragma once

#include <string>

class M2MNeighbour {
  public:
    // A record that is not stored and whose UID is not known.
    M2MNeighbour();
    // The record with this ID, or this UID, as far as the database has it: test getID() afterwards.
    explicit M2MNeighbour(long id);
    explicit M2MNeighbour(const std::string& uid);
    // Copies every field; null gives the defaults.
    explicit M2MNeighbour(const M2MNeighbour* other);

    // All return 0, or 13 after logging when the database request failed. Fields keep their values then.

    // Loads the record by UID, or by ID when the UID is not known. 16 when neither is known or there is no such row.
    // The optionals are not loaded.
    int fillFromDB();
    // Stores a new row, always disabled: someone at the controller has to enable it. Sets the ID.
    int insertOnDB();
    // Writes everything but the UID to the row with this ID.
    int updateOnDB();
    // Inserts (with the enable flag cleared) when the UID is not stored yet, else updates the stored row.
    int insertOrUpdateOnDB();
    // Deletes the row and sets the ID to -1.
    int deleteFromDB();
    // Whether a row has this UID; its ID is taken over then.
    bool alreadyPresendOnDB();
    // Whether the database answers for this address; takes over the ID when the answer has one. The statement's doubled
    // alias, which no database takes, is kept as it is: nobody relies on more.
    bool searchOnDBByIPAddress();

    long getID() const { return id_; }
    void setID(long id) { id_ = id; }
    std::string getProductorTag() const { return productorTag_; }
    void setProductorTag(std::string tag) { productorTag_ = std::move(tag); }
    std::string getSoftwareVersion() const { return softwareVersion_; }
    void setSoftwareVersion(std::string version) { softwareVersion_ = std::move(version); }
    std::string getIpAddress() const { return ipAddress_; }
    void setIpAddress(std::string address) { ipAddress_ = std::move(address); }
    int getPort() const { return port_; }
    void setPort(int port) { port_ = port; }
    // "ONLINE" or "OFFLINE".
    std::string getStatus() const { return status_; }
    void setStatus(std::string status) { status_ = std::move(status); }
    std::string getUID() const { return uid_; }
    void setUID(std::string uid) { uid_ = std::move(uid); }
    std::string getName() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }
    std::string getOptionals() const { return optionals_; }
    void setOptionals(std::string optionals) { optionals_ = std::move(optionals); }
    bool getEnableFlag() const { return enableFlag_; }
    void setEnableFlag(bool enabled) { enableFlag_ = enabled; }
    // Seconds since the epoch.
    int getLastAccess() const { return lastAccess_; }
    void setLastAccess(int lastAccess) { lastAccess_ = lastAccess; }
    bool getUseSSL() const { return useSSL_; }
    void setUseSSL(bool useSSL) { useSSL_ = useSSL; }

  private:
    void setField(const std::string& column, const char* value);

    long id_ = -1;
    std::string productorTag_;
    std::string softwareVersion_;
    std::string ipAddress_;
    int port_ = 0;
    std::string status_;
    std::string uid_;
    std::string name_;
    std::string optionals_;
    bool enableFlag_ = false;
    int lastAccess_ = 0;
    bool useSSL_ = false;
};
