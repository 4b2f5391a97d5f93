// The report's page around its data, assembled from page/ when it is built.
#pragma once

namespace shadingctl {

extern char const kPageBeforeData[];
extern char const kPageAfterData[];

}  // namespace shadingctl
