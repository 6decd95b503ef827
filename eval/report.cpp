#include "eval/report.h"

#include "eval/evaluate.h"
#include "eval/king.h"

int KingDanger(int attacker) {
    return KingAttack(attacker) + Shelter(ChangeSide(attacker));
}
void LeaveForReport(const Terms& t) {
    for (int c : {WHITE, BLACK}) {
        Defended[c] = t.defended[c];
        Danger[c] = t.danger[c];
    }
}
void WriteEvaluationReport() {}
