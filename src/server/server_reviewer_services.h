// The reviewer's services as the server layer gives them: the session's login and the HTTP
// layer's downloads.
#pragma once

#include "core/reviewer_services.h"

namespace kolvane {

// The one instance; lives as long as the process.
KVReviewerServices& serverReviewerServices();

// Hands the server layer's services to the runtime. The facade does it before start-up.
void installServerReviewerServices();

}  // namespace kolvane
