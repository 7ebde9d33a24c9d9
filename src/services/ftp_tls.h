// The FTP server's setting ssl_enable: whether connections use TLS. It is read from and written to
// /etc/vsftpd.conf or, while the FTP service is disabled, its parked copy
// /etc/vsftpd.conf.disabled. All else in the file stays, line by line.
#pragma once

#include <string>
#include <string_view>

// Whether the text turns TLS on: the last line "ssl_enable=VALUE" counts (blanks and tabs around
// the key and before the value are passed over), its value being "YES" in any case or "1".
bool FtpTlsIn(std::string_view text);

// The text with each line that begins, behind blanks and tabs, with "ssl_enable=" or "ssl_enable ="
// written as "ssl_enable=YES" or "ssl_enable=NO". A text without such a line gains none. Every
// line, the last too, ends in a line feed; one beyond 1023 bytes becomes several.
std::string WithFtpTls(std::string_view text, bool enable);

// The setting in the file; false when there is neither file nor setting.
bool ReadFtpTls();

// Rewrites the file by way of the same path with ".tmp" behind it. A failure is not reported and
// leaves the file as it was.
void WriteFtpTls(bool enable);
