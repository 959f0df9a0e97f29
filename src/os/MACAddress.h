#pragma once

// Writes six bytes: a fixed address, 01:02:03:04:05:06, the same on every host. No network
// interface is asked.
void GetMACAddress(unsigned char* out);
