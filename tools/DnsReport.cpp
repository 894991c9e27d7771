#include "QuietFile.h"
#include "Report.h"

namespace inspect {

Report reportOnDns(const QuietFile& file) {
    // As the resolver chooses: of the usable addresses the best grade, and among equals the one that has not
    // worked for the longest time.
    const std::string best =
        "(SELECT best.id FROM ip_t best WHERE best.domain=ip_t.domain AND best.sp='' AND "
        "best.roundtripTime<9999"
        " ORDER BY best.grade DESC, best.finallySuccessTime, best.successNum DESC LIMIT 1)";
    return {
        {"domains",
         {"domain", "addresses#", "age (s)#"},
         file.rows("SELECT domain, (SELECT count(*) FROM ip_t WHERE ip_t.domain=domain_t.domain),"
                   " CAST(strftime('%s', 'now') - finallyTime AS INTEGER) FROM domain_t ORDER BY domain")},
        {"addresses",
         {"domain", "address", "chosen now", "successes#", "failures#", "last success#", "last failure#",
          "grade#"},
         file.rows(
             "SELECT domain, ip, CASE WHEN id=" + best +
             " AND domain IN (SELECT domain FROM domain_t WHERE sp='') THEN 'yes' ELSE 'no' END,"
             " CAST(successNum AS INTEGER), CAST(errNum AS INTEGER), CAST(finallySuccessTime AS INTEGER),"
             " CAST(finallyFailTime AS INTEGER), CAST(grade AS INTEGER) FROM ip_t"
             " ORDER BY domain, grade DESC, finallySuccessTime, successNum DESC")},
    };
}

}  // namespace inspect
