// What the wiring of the producers gives to the pipeline, one file a producer.
#pragma once

#include "control/policy_targets.h"

namespace zarn::core {

struct Pipeline;

/// To be called once the producers are there.
control::NetworkTargets networkTargets(Pipeline& pipeline);
control::PushTargets pushTargets(Pipeline& pipeline);

}  // namespace zarn::core
