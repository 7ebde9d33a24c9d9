// The FTP server's setting ssl_enable: whether connections use TLS. It lives in /etc/vsftpd.conf
// or, while the FTP service is disabled, in its parked copy /etc/vsftpd.conf.disabled. Everything
// else in the file is kept, line by line.
#pragma once

#include <string>
#include <string_view>

// Whether the text turns TLS on. The last line "ssl_enable=VALUE" counts, on if VALUE is "YES" in
// any case or "1". Blanks and tabs around the key and before the value are ignored.
bool FtpTlsIn(std::string_view text);

// The text with every setting line rewritten as "ssl_enable=YES" or "ssl_enable=NO". A setting line
// starts, after blanks and tabs, with "ssl_enable=" or "ssl_enable =". If there is none, none is
// added. Every line ends in a line feed, also the last; a line longer than 1023 bytes is split.
std::string WithFtpTls(std::string_view text, bool enable);

// The setting in the file; false if there is no file or no setting.
bool ReadFtpTls();

// Writes the new file under the same path plus ".tmp" and renames it. A failure is not reported and
// leaves the file unchanged.
void WriteFtpTls(bool enable);
