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
  bool bIsDelete = false;
  bool bIsAfterdayDelete = false;
  long lDeleteDay = 0;
  bool bIsOut = false;
};

using AccountPtr = std::shared_ptr<clsAccount>;

}  // namespace kvmail
