#include "libenvdb/dbmanagerutil.h"

#include <strings.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string>

#include "cbase/cstylecode_sockets.h"
#include "cbase/descriptor.h"
#include "cbase/logging.h"
#include "cbase/memory.h"
#include "cbase/result.h"
#include "cbase/timedio.h"
#include "libenvdb/dbanswer.h"

namespace {

template <std::size_t N>
bool is_one_of(const char* word, const std::array<const char*, N>& known) {
    return std::any_of(known.begin(), known.end(), [word](const char* k) { return strcasecmp(word, k) == 0; });
}

}  // namespace

int dbmanager_socket_request(int port, const char* function, const char* type, const char* length,
                             const char* statement, char** out_lengthline, char** out_status, char** out_payloadlength,
                             char** out_payload) {
    const Descriptor fd(make_internettcpclient_socket("127.0.0.1", port));
    if (!fd.valid()) {
        error("DBManagerutil->dbmanager_socket_request error opening socket DBManager clientside for function %s",
              function);
        return result::dbSocketFailed;
    }
    constexpr std::array functions{"DDL-SQL", "DML-SQL"};
    if (!is_one_of(function, functions)) {
        error("DBManagerutil->dbmanager_socket_request error function %s not supported", function);
        return result::dbUnsupported;
    }
    constexpr std::array types{"CREATE-TRIGGER", "DROP-TRIGGER", "INSERT", "UPDATE", "DELETE", "TRANSACTION", "SELECT"};
    if (!is_one_of(type, types)) {
        error("DBManagerutil->dbmanager_socket_request error type %s not supported", type);
        return result::dbUnsupported;
    }

    const std::string request = std::string("Request: ") + function + "\nType: " + type +
                                "\nStatement payload length: " + length + "\nStatement: " + statement + "\n\n";
    if (!timedio::send_blocking(fd.get(), request)) {
        error("DBManagerutil->dbmanager_socket_request send writing request failed with error '%s' for function %s",
              strerror(errno), function);
        return result::dbSendFailed;
    }

    using State = libenvdb::AnswerCollector::State;
    libenvdb::AnswerCollector answer;
    State state = State::incomplete;
    std::array<char, 16384> chunk;
    while (state == State::incomplete) {
        const ssize_t received = timedio::receive_blocking(fd.get(), chunk.data(), chunk.size());
        if (received <= 0) {
            if (received == 0) errno = ECONNRESET;
            error(
                "DBManagerutil->dbmanager_socket_request recv reading response failed with error '%s' for function %s",
                strerror(errno), function);
            return result::dbAnswerMalformed;
        }
        state = answer.add({chunk.data(), static_cast<std::size_t>(received)});
    }
    if (state == State::malformed) {
        error(
            "DBManagerutil->dbmanager_socket_request strtok parsing 'Response payload length: ' response tag failed "
            "for function %s",
            function);
        return result::dbAnswerMalformed;
    }
    shutdown(fd.get(), SHUT_RDWR);

    const std::string payload = answer.payload();
    *out_lengthline = xstrcpy(nullptr, answer.lengthLine().c_str());
    *out_status = xstrcpy(nullptr, "FSMC-000");
    *out_payloadlength = xstrcpy(nullptr, std::to_string(payload.size()).c_str());
    *out_payload = xstrcpy(nullptr, payload.c_str());
    return result::ok;
}

QueryResults* queryresultsinit() {
    auto* block = static_cast<QueryResults*>(xmalloc(sizeof(QueryResults)));
    if (block != nullptr) block->rowCount = -1;
    return block;
}

int queryresultsfree(QueryResults* block) {
    if (block == nullptr) return -1;
    xfree(block->responseStatus);
    xfree(block->unused);
    xfree(block);
    return 0;
}
