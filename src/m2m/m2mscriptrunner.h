// A runner: the row of KOVAD_OBJECT (type "CSCMD") from which the core starts one of these processes. The client
// handler holds its own; an attach removes the other runners of the same neighbour.
//
// The int operations return 0, or after logging 13 (database) or 16 (not stored, or not found).
#pragma once

#include <string>

#include "model/m2mkovadobject.h"

// Run state as the core keeps it; its values are the core's business.
enum class runnerStatusID : int { unknown = 0 };

class M2MScriptRunner : public M2MKovadObject {
  public:
    M2MScriptRunner() = default;
    // The stored runner with this ID, as far as the database has it: test getID(). A negative ID reads nothing.
    explicit M2MScriptRunner(long id);
    explicit M2MScriptRunner(const M2MScriptRunner* other);
    // A new runner, not stored yet, whose command listens on `port`. The option word before `fd` is "fd".
    M2MScriptRunner(bool firstRun, int fd, int port, bool sslEnabled);
    // A new runner with this name and command, not stored yet.
    M2MScriptRunner(std::string name, std::string command);

    int readFromDB(int id);
    // Stores a new row and sets the ID.
    int insertOnDB();
    // Writes name, command and options.
    int updateOnDB();
    int deleteFromDB();

    // Takes "--first-run" out of the stored command, so that the core restarts this runner as one that knows its
    // neighbour, and saves the record.
    int removeFirstRunParameter();
    // Has the core quit every other runner of this neighbour and deletes their records. The statement matches part of a
    // text: for neighbour 5 it also finds the runners of neighbours 50 to 59.
    int deleteOtherRunnerForNeighbour(long neighbourID) const;

    // Ask the core to run or quit what `target` names. The second text is not used. Code of executeFSMCoreCommand.
    int run(const std::string& target, const std::string& unused) const;
    int quit(const std::string& target, const std::string& unused) const;
    // Sends a command about this runner to the core. The core's status; 16 when the record is not stored, 11 when the
    // core could not be asked.
    int executeFSMCoreCommand(const std::string& sessionText, const std::string& target, const std::string& command,
                              const std::string& caller) const;

    runnerStatusID getStatusID() const { return statusID_; }
    void setStatusID(runnerStatusID status) { statusID_ = status; }
    int getPID() const { return pid_; }
    void setPID(int pid) { pid_ = pid; }
    // The port on which the runner takes the core's calls.
    int getPort() const { return port_; }
    void setPort(int port) { port_ = port; }
    // The command line that the core executes.
    std::string getCommand() const { return command_; }
    void setCommand(std::string command) { command_ = std::move(command); }
    std::string getName() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }

  private:
    runnerStatusID statusID_ = runnerStatusID::unknown;
    int pid_ = 0;
    int port_ = 0;
    std::string command_;
    std::string name_;
};
