// Small functions of the M2M link that belong to no record: the attach flag, the search for a neighbour by address, and
// the constants and sockets of multicast discovery. Log lines begin with "M2Mutil->".
#pragma once

// 1 when the flag `flagname` in the configuration table `table` holds exactly the text `expectedvalue`, else 0: also
// when the flag is not there or the database does not answer.
int m2m_attachlisteningisenabled(const char* table, const char* flagname, const char* expectedvalue);

// 1 when the database answers with a row for a neighbour at `ipaddress`, with its ID in `*id` (unless null), else 0.
// The statement counts rows, so any answer has one: callers look at the ID.
int m2m_neighbouralreadyexists(const char* ipaddress, long* id);

// Multicast group and port of discovery.
const char* m2m_get_defaultdiscoveryip();
int m2m_get_defaultdiscoveryport();
// Socket for sending search datagrams to that group: one hop, not looped back. The caller closes it; -1 after logging.
int m2m_makesendingsearchsocket();
// Kind of a discovery datagram: 0 search, 1 answer, 2 neither.
int m2m_getsearchdatagramtype(const unsigned char* data, int length);
