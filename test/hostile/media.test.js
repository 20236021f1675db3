'use strict';

const { testQuickRows } = require('./support/suite');

testQuickRows('media that exhaust memory', require('./rows/media'));
