// The envelope that every datagram carries, and its two bases: requests and responses. Every message class of this
// folder derives from one of them, adds its own keys and hides encodeJSON. All are plain values.
//
// Parse constructors never fail: what is missing or of the wrong type is logged and keeps its default.
#pragma once

#include <jansson.h>

#include <string>

// Values of "type".
inline constexpr const char* typeRequest = "request";
inline constexpr const char* typeResponse = "response";

class M2MDatagram {
  public:
    M2MDatagram() = default;
    M2MDatagram(const std::string& source, const std::string& destination, const std::string& type,
                const std::string& function, const std::string& token, const std::string& messageID);
    // Copies every field; null gives empty fields.
    explicit M2MDatagram(const M2MDatagram* other);
    // Reads the envelope out of a received text.
    explicit M2MDatagram(const std::string& json);

    // New JSON object with the envelope, owned by the caller. A key that cannot be added is logged and is the last.
    json_t* encodeJSON() const;

    std::string getType() const { return type_; }
    void setType(std::string type) { type_ = std::move(type); }
    std::string getFunction() const { return function_; }
    void setFunction(std::string function) { function_ = std::move(function); }
    std::string getSourceUID() const { return source_; }
    void setSourceUID(std::string source) { source_ = std::move(source); }
    std::string getDestinationUID() const { return destination_; }
    void setDestinationUID(std::string destination) { destination_ = std::move(destination); }
    std::string getToken() const { return token_; }
    void setToken(std::string token) { token_ = std::move(token); }
    // Pairs a response with its request; a text, not a number.
    std::string getMessageID() const { return messageID_; }
    void setMessageID(std::string messageID) { messageID_ = std::move(messageID); }

  private:
    std::string type_;
    std::string function_;
    std::string source_;
    std::string destination_;
    std::string token_;
    std::string messageID_;
};

class M2MRequestDatagram : public M2MDatagram {
  public:
    using M2MDatagram::M2MDatagram;
    M2MRequestDatagram() = default;
    explicit M2MRequestDatagram(const M2MRequestDatagram* other) : M2MDatagram(other) {}
};

class M2MResponseDatagram : public M2MDatagram {
  public:
    M2MResponseDatagram() = default;
    M2MResponseDatagram(const std::string& source, const std::string& destination, const std::string& type,
                        const std::string& function, const std::string& token, int resultCode,
                        const std::string& messageID);
    explicit M2MResponseDatagram(const M2MResponseDatagram* other);

    // The envelope and "result".
    json_t* encodeJSON() const;

    int getResultCode() const { return resultCode_; }
    void setResultCode(int code) { resultCode_ = code; }

  private:
    int resultCode_ = 0;
};
