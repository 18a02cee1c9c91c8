// The dates of the bars as texts, and as seconds for the time axis.

// Digits that stand in the places of a common text, or a list of texts.
const dateDigits = study.dates.digits ? unpackColumn(study.dates.digits) : null;
const {skeleton} = study.dates;

const laterDates = new Map();  // by bar, of a live chart
function dateOf(bar) {
  const later = laterDates.get(bar);
  if (later !== undefined) return later;
  if (!dateDigits) return study.dates[bar];
  const digits = String(dateDigits[bar]).padStart(skeleton.replace(/[^0]/g, '').length, '0');
  let next = 0;
  return skeleton.replace(/0/g, () => digits[next++]);
}

const secondsADay = 86400;

// Seconds of a day of the calendar. NaN for a day that there is not.
function dayTime(year, month, day) {
  const time = Date.UTC(year, month - 1, day), date = new Date(time);
  return date.getUTCMonth() === month - 1 && date.getUTCDate() === day ? time / 1000 : NaN;
}

function clockTime(hour, minute, second) {
  return hour > 23 || minute > 59 || second > 59 ? NaN : 3600 * hour + 60 * minute + second;
}

// Seconds of a business day or an ISO time, without a zone as UTC. NaN for any other text.
function parseTime(text) {
  const parts = /^(\d{4})-?(\d\d)-?(\d\d)(?:[T ](\d\d):(\d\d)(?::(\d\d)(?:[.,]\d+)?)?(Z|[+-]\d\d:?\d\d)?)?$/.exec(text.trim());
  if (!parts) return NaN;
  const [year, month, day, hour, minute, second] = parts.slice(1, 7).map(part => Number(part || 0));
  const zone = parts[7] && parts[7] !== 'Z' ? parts[7].replace(':', '') : '+0000';
  const ahead = (zone[0] === '-' ? -60 : 60) * (60 * Number(zone.slice(1, 3)) + Number(zone.slice(3)));
  return dayTime(year, month, day) + clockTime(hour, minute, second) - ahead;
}

// The same of digits such as 20240301 or 202403010930, without reading a text for each bar.
function timesOfDigits() {
  const form = /^0000-?00-?00(?:[T ]00:00(:00)?Z?)?$/.exec(skeleton);
  if (!form) return null;
  const clockDigits = skeleton.replace(/[^0]/g, '').length - 8, clockUnit = 10 ** clockDigits;
  let lastDay = -1, dayStart = NaN;
  return dateDigits.map(digits => {
    const day = Math.floor(digits / clockUnit);
    let clock = digits % clockUnit;
    if (day !== lastDay) {
      lastDay = day;
      dayStart = dayTime(Math.floor(day / 10000), Math.floor(day / 100) % 100, day % 100);
    }
    if (clockDigits === 0) return dayStart;
    if (clockDigits === 4) clock *= 100;
    return dayStart + clockTime(Math.floor(clock / 10000), Math.floor(clock / 100) % 100, clock % 100);
  });
}

const parsed = (dateDigits && timesOfDigits()) ?? Float64Array.from({length: barCount}, (_, bar) => parseTime(dateOf(bar)));
const isTimed = parsed.every((time, bar) => bar === 0 ? !Number.isNaN(time) : time > parsed[bar - 1]);
// Without times that rise, bars stand one day apart, and the axis shows the texts of the file.
const barTimes = isTimed ? parsed : parsed.map((_, bar) => bar * secondsADay);
const times = study.live ? growing(barTimes) : barTimes;
const hasClock = isTimed && times.some(time => time % secondsADay !== 0);

// The first bar at or after a time; the number of bars if there is none.
function barFrom(time) {
  let low = 0, high = barCount;
  while (low < high) {
    const middle = low + high >> 1;
    times[middle] < time ? low = middle + 1 : high = middle;
  }
  return low;
}

function dateText(time) {
  const bar = barFrom(time);
  return times[bar] === time ? dateOf(bar) : '';
}
