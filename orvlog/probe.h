// The two questions that are asked of the health driver before the real work.
#pragma once

#include <cstdint>

/// 1 when the management controller is of the IPMI kind. It only chooses words: ASR, or IPMI watchdog.
extern int non_Brix;

/// Asks which kind of management controller the server has and sets non_Brix. Ends the process with status 1
/// when the controller's node cannot be opened; a controller that does not answer counts as the other kind.
void Get_Qm_100_Series();

/// Asks whether the server keeps an IML and says so on standard error where it does not. Returns 0 when it
/// does not or its node cannot be opened, else 1, also when the driver could not answer.
uint16_t do_init();
