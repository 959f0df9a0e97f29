#pragma once

#include <string>
#include <vector>

#include "app/RunPlan.h"
#include "util/Finding.h"

// What is wrong with a request whose arguments were read: options that have no effect together or
// with the rules, record sizes that the chip refuses, files that do not fit each other. rulesPath
// is the value of the -VNP or -RULES that counts, "" without one.
std::vector<CFinding> FindInRequest(const CRequest& request,
                                    const CChipImageLoadingInformation& info, const CRunPlan& plan);
