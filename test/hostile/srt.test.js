'use strict';

const { testQuickRows } = require('./support/suite');

testQuickRows('hostile SRT servers', require('./rows/srt'));
