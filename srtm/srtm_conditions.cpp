// Conditions: words of event characters on the control file's conditions
// line, "-" turning the rest of a row negative and "," starting a further
// row of an F test.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "srtm_design_core.h"
#include "srtm_internal.h"
#include "zor_alloc.h"

namespace {

std::vector<std::string> tokens_of(const char *text) {
  std::vector<std::string> tokens;
  char word[ZOR_LINE];
  int n = 0;
  const char *p = text;
  while (sscanf(p, "%1023s%n", word, &n) == 1) {
    tokens.emplace_back(word);
    p += n;
  }
  return tokens;
}

int only_type(int l, int type) {
  if (l < 0 || l >= SRTM.nconditions || SRTM.ncontrasts[l] != 1) return 0;
  for (int c = 0; c < SRTM.ncoeff; c++)
    if (SRTM.contrast_matrix[l][0][c] != 0 && SRTM.event_type[c] != type) return 0;
  return 1;
}

}  // namespace

int SRTMInternal_BP_condition(int iCondition) { return only_type(iCondition, srtm::TYPE_k2a); }
int SRTMInternal_DV_condition(int iCondition) { return only_type(iCondition, srtm::TYPE_DVb); }

int SRTM_define_conditions(char *condition_string) {
  if (SRTM.initialized != 2) {
    printf("Error: SRTM_define_conditions called but SRTM.initialized = %d\n", SRTM.initialized);
    return 1;
  }
  srtm_free_conditions();
  std::vector<std::string> tokens = tokens_of(condition_string ? condition_string : "");
  if (tokens.empty()) return 0;
  if ((int)tokens.size() > SRTM_MAX_CONDITIONS) {
    printf("Error: %d conditions were given, more than the %d allowed.\n", (int)tokens.size(), SRTM_MAX_CONDITIONS);
    return 1;
  }
  const int C = SRTM.ncoeff;
  srtm_alloc.condition_ncoeff = C > 0 ? C : 1;
  for (size_t l = 0; l < tokens.size(); l++) {
    int n = 1;
    for (char ch : tokens[l]) n += ch == ',';
    SRTM.ncontrasts[l] = n;
    SRTM.contrast_matrix[l] = int_matrix(n, srtm_alloc.condition_ncoeff);
    for (int i = 0; i < n; i++)
      for (int c = 0; c < srtm_alloc.condition_ncoeff; c++) SRTM.contrast_matrix[l][i][c] = 0;
    SRTM.FCovar[l] = double_matrix(n, n);
    SRTM.FCovarInv[l] = double_matrix(n, n);
  }
  SRTM.nconditions = (int)tokens.size();
  for (size_t l = 0; l < tokens.size(); l++) {
    snprintf(SRTM.condition_name[l], ZOR_LINE, "%s", tokens[l].c_str());
    int row = 0, sign = 1;
    for (char ch : tokens[l]) {
      if (ch == ',') {
        row++;
        sign = 1;
        continue;
      }
      if (ch == '-') {
        sign = -1;
        continue;
      }
      int event = SRTM_EventNumberFromChar(ch);
      int icoeff = -1;
      for (int c = 0; c < C && event > 0; c++)
        if (SRTM.event_id[c] == event) icoeff = c;
      if (icoeff < 0) {
        if (event > 0)
          printf("Error: one of the events in the conditions (%c) is not defined.\n", ch);
        else
          printf("Error: event type %c is not allowed.\n", ch);
        srtm_free_conditions();
        return 1;
      }
      SRTM.contrast_matrix[l][row][icoeff] += sign;
    }
  }
  srtm_condition_covariances(SRTM.XTXm1_cc, SRTM.FCovar, SRTM.FCovarInv);
  for (int l = 0; l < SRTM.nconditions; l++) {
    SRTM.BP_condition[l] = SRTMInternal_BP_condition(l);
    SRTM.DV_condition[l] = SRTMInternal_DV_condition(l);
  }
  return 0;
}
