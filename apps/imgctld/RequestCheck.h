#pragma once

#include <string>
#include <vector>

#include "HttpMessages.h"

namespace imgctld {

/// By what names this service is reached.
struct OwnNames {
    std::vector<std::string> hosts; ///< beside IP literals and "localhost": names in lower case
    unsigned int port = 0;          ///< that it listens at
    bool encrypted = false;         ///< it speaks TLS by itself
    std::string publicUrl; ///< "https://cam.example/gate": what a proxy stands for; may be empty
    std::vector<std::string> proxies; ///< addresses whose X-Forwarded-For is believed
    bool openToAll = false;           ///< nobody logs in: what came through a proxy is refused
};

/// The machine's names: its own, and NAME.local.
std::vector<std::string> machineNames();

/// What is wrong with the head of a request, whoever sent it.
struct HeadProblem {
    unsigned int status = 0; ///< 0: nothing
    std::string text;        ///< a sentence
};

/// Checks what a request may be before it is known who sent it:
/// - exactly one Host, and one of ours (421): a name that an attacker's DNS points here is another;
/// - no header twice that must be single, no length in two forms (400);
/// - an Origin that is ours (403), with or without cookie: pages of others change nothing and see
///   nothing; Sec-Fetch-Site says so too where browsers send it;
/// - a changing request says that it carries JSON (415): a foreign page's form cannot.
/// @param importType  the type that the path takes in place of JSON; null: JSON
HeadProblem checkHead(const http::Request& request, const OwnNames& names, const char* importType);

/// Whether a request shows that a person is there: a page in sight reads by itself all the time. It
/// changes something, loads the page, or is a page's word that somebody moves in it.
bool showsAPerson(const http::Request& request);

/// The address that a request came from: the peer's, or what a trusted proxy says it is.
std::string clientAddress(const http::Request& request, const OwnNames& names);

/// Whether a text is an IPv4 or IPv6 address.
bool isAddress(const std::string& text);

/// Whether an address is of this machine's loopback.
bool isLoopback(const std::string& address);

/// The value of a cookie in a Cookie header, or empty.
std::string cookieValue(const std::string& cookies, const std::string& name);

/// Control characters, C1 and what is no UTF-8 made visible, for the log.
std::string escaped(const std::string& text, std::size_t most = 200);

} // namespace imgctld
