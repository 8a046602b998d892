// The two checks made before the real work: the kind of management controller, and support for the log.
#pragma once

#include <cstdint>

// 1 when the management controller is of the IPMI kind. It only chooses the wording: ASR or IPMI watchdog.
extern int non_Brix;

// Asks which kind of management controller the server has and sets non_Brix, which stays 0 when the
// controller does not answer. Ends the process with status 1 when the controller's node cannot be opened.
void Get_Qm_100_Series();

// Asks whether the server keeps an IML. Returns 0 when it keeps none or the node cannot be opened, and 1
// otherwise, also when the driver could not answer. Every answer but a plain yes is reported on standard
// error.
uint16_t do_init();
