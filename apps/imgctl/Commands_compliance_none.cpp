#include "CommandFunctions.h"

namespace imgctl {

Status runCompliance(const Call& call) {
    return call.refuse(Status::failed,
                       "this imgctl is built without it; ia-compliance does the same");
}

} // namespace imgctl
