#pragma once

namespace imgctld {

/// The program imgctld, as a shell or systemd starts it.
/// @return its exit status
int runProgram(int argc, char** argv);

} // namespace imgctld
