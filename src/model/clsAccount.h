#pragma once
// Settings of the one mail account a service object uses for one host program.
// Plain read-write fields; the service fills them once and the windows only read them.
#include <QString>

#include <memory>

namespace kvmail {

class clsAccount {
 public:
  long lProgID = 0;
  QString sName;
  QString sSmtp;
  QString sFrom;
  QString sFromAddress;
  QString sUserName;
  QString sPassword;
  QString sReplyTo;
  long lSmtpPort = 0;
  QString sPop3;
  // Read from an optional column of the host's account table; 0 means the standard port (110).
  long lPop3Port = 0;
  // Transport security, from optional columns of the host's account table (0 when absent).
  // POP3: 0 plain, 1 STLS before the login (refused when the server lacks it), 2 TLS from the
  // first byte. SMTP: 0 as the port says (465 TLS, others STARTTLS when offered), 1 STARTTLS
  // required, 2 TLS from the first byte.
  long lPop3Security = 0;
  long lSmtpSecurity = 0;
  // A certificate file (PEM or DER) trusted instead of the system's store; empty: the system's.
  QString sCertFile;
  bool bIsDelete = false;
  bool bIsAfterdayDelete = false;
  long lDeleteDay = 0;
  bool bIsOut = false;
};

using AccountPtr = std::shared_ptr<clsAccount>;

}  // namespace kvmail
