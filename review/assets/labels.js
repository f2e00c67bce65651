"use strict";

// What the codes of an item mean; a code without an entry stands alone.
const codeLabels = {
  sex: {
    1: "male", 2: "female", 3: "other", 4: "transsexual", 5: "transsexual, born male",
    6: "transsexual, born female", 9: "unknown",
  },
  race: {
    "01": "White", "02": "Black", "03": "American Indian, Alaska Native", "04": "Chinese",
    "05": "Japanese", "06": "Filipino", "07": "Native Hawaiian", "08": "Korean",
    10: "Vietnamese", 11: "Laotian", 12: "Hmong", 13: "Cambodian", 14: "Thai",
    15: "Asian Indian or Pakistani", 16: "Asian Indian", 17: "Pakistani", 20: "Micronesian",
    21: "Chamorro", 22: "Guamanian", 25: "Polynesian", 26: "Tahitian", 27: "Samoan",
    28: "Tongan", 30: "Melanesian", 31: "Fiji Islander", 32: "New Guinean", 88: "no further race",
    96: "other Asian", 97: "other Pacific Islander", 98: "other", 99: "unknown",
  },
  hispanic: {
    0: "not Hispanic", 1: "Mexican", 2: "Puerto Rican", 3: "Cuban",
    4: "South or Central American", 5: "other", 6: "Hispanic", 7: "by surname only",
    8: "Dominican", 9: "unknown",
  },
  laterality: {
    0: "not paired", 1: "right", 2: "left", 3: "one side", 4: "bilateral", 5: "midline",
    9: "unknown",
  },
  behavior: {0: "benign", 1: "borderline", 2: "in situ", 3: "invasive"},
  vital: {0: "dead", 1: "alive", 4: "dead"},
};
