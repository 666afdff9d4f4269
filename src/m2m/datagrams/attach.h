// Attach: a neighbour opens its relation with this controller with its credentials and identity.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "m2m/datagrams/datagram.h"

// How a neighbour wants to communicate. Only `direct`, connections in both directions, is supported.
enum class M2MCommunicationMode : int { unset = 0, direct = 1 };

class M2MAttachRequestDatagram : public M2MRequestDatagram {
  public:
    using Options = std::map<std::string, std::string>;

    using M2MRequestDatagram::M2MRequestDatagram;
    M2MAttachRequestDatagram() = default;
    explicit M2MAttachRequestDatagram(const M2MAttachRequestDatagram* other);
    // A parsed request holds no options map, so the options of a received datagram are checked and dropped.
    explicit M2MAttachRequestDatagram(const std::string& json);

    // "communication_mode" is read and never written.
    json_t* encodeJSON() const;

    std::string getClientTag() const { return clientTag_; }
    void setClientTag(std::string tag) { clientTag_ = std::move(tag); }
    std::string getUsername() const { return username_; }
    void setUsername(std::string username) { username_ = std::move(username); }
    // In clear, inside the datagram. Never to be logged.
    std::string getPassword() const { return password_; }
    void setPassword(std::string password) { password_ = std::move(password); }
    std::string getProductorTagID() const { return productorTagID_; }
    void setProductorTagID(std::string tag) { productorTagID_ = std::move(tag); }
    std::string getSoftwareVersion() const { return softwareVersion_; }
    void setSoftwareVersion(std::string version) { softwareVersion_ = std::move(version); }
    int getProtocolVersion() const { return protocolVersion_; }
    void setProtocolVersion(int version) { protocolVersion_ = version; }
    // Where the neighbour takes notifications.
    std::string getIPAddress() const { return ipAddress_; }
    void setIPAddress(std::string address) { ipAddress_ = std::move(address); }
    int getPort() const { return port_; }
    void setPort(int port) { port_ = port; }
    M2MCommunicationMode getCommunicationMode() const { return communicationMode_; }
    void setCommunicationMode(M2MCommunicationMode mode) { communicationMode_ = mode; }

    // The options, or null when the datagram holds no map; owned by the datagram.
    const Options* getOptions() const { return options_.get(); }
    // Copies the map; null leaves the datagram without one.
    void setOptions(const Options* options);
    // The option's value, empty when it is not there.
    std::string getOptionForTag(const std::string& tag) const;
    // Adds an option; one that is there keeps its value. Without a map nothing happens.
    void setOptionForTag(const std::string& tag, const std::string& value);

  private:
    std::string clientTag_;
    std::string username_;
    std::string password_;
    std::string productorTagID_;
    std::string softwareVersion_;
    int protocolVersion_ = 0;
    std::string ipAddress_;
    int port_ = 0;
    std::unique_ptr<Options> options_ = std::make_unique<Options>();
    M2MCommunicationMode communicationMode_ = M2MCommunicationMode::direct;
};

// The envelope with "result"; its token is the one that all later requests carry.
class M2MAttachResponseDatagram : public M2MResponseDatagram {
  public:
    using M2MResponseDatagram::M2MResponseDatagram;
    M2MAttachResponseDatagram() = default;
    explicit M2MAttachResponseDatagram(const M2MAttachResponseDatagram* other) : M2MResponseDatagram(other) {}
};
