#pragma once

namespace imgctl {

/// The program imgctl, as a shell starts it.
/// @return its exit status
int runProgram(int argc, char** argv);

} // namespace imgctl
