// The start-up values that the parameters of both sides share.
#pragma once

#include <algorithm>

#include "adapt/records.h"

namespace mc {

// Parameters is IgmpGlobleParm or MldInitParams, which name these fields alike.
template <class Parameters>
void set_default_parameters(Parameters& parameters) {
    parameters.defaultVlan = MC_DEFAULT_VLAN;
    parameters.learningMode = 0;
    parameters.robustness = 2;
    parameters.version = 3;
    parameters.query_interval = 125;
    parameters.query_max_resp_time = 10;
    parameters.last_member_query_interval = 1;
    parameters.last_member_query_count = 2;
    parameters.general_member_interval = 1;
    parameters.ssm_ip_start = 0;
    parameters.ssm_ip_end = 0;
    std::ranges::fill(parameters.ssm_map, 0u);
    parameters.proxy_ip = MC_DEFAULT_PROXY_IP;
}

}  // namespace mc
