#pragma once

#include <QString>

// The directory domain a machine is joined to, read from the configuration of
// the service that joined it, without running any tool: SSSD's domains, or
// the realm (else the workgroup) of a winbind member of an Active Directory.
namespace JoinedDomain {

// From the files of this machine; empty when none names a domain or none can be read.
QString Read();

// The first domain of the "domains" key of [sssd], else of the first
// [domain/NAME] section.
QString FromSssd(const QString &text);
// The realm, else the workgroup, of [global] when "security" is "ads".
QString FromSamba(const QString &text);

} // namespace JoinedDomain
