'use strict';

const fs = require('node:fs');
const path = require('node:path');
const ts = require('typescript');
const { root } = require('./project');

/**
 * The content of a declaration's documentation comment.
 * @typedef {{text: string, params: {name: string, text: string}[], returns: string,
 *   throws: {type: string, text: string}[]}} Doc
 *
 * @typedef {{name: string, signature: string, section: string, optional: boolean, type: string,
 *   doc: Doc}} Member `section`: the title of the comment rule above it, "" without one
 *
 * @typedef {{kind: 'class' | 'interface' | 'type' | 'function' | 'const', name: string,
 *   signature: string, members: Member[], doc: Doc}} Declaration
 */

const KINDS = new Map([
  [ts.SyntaxKind.ClassDeclaration, 'class'],
  [ts.SyntaxKind.InterfaceDeclaration, 'interface'],
  [ts.SyntaxKind.TypeAliasDeclaration, 'type'],
  [ts.SyntaxKind.FunctionDeclaration, 'function'],
  [ts.SyntaxKind.VariableStatement, 'const'],
]);

const oneLine = (text) => text.replace(/\s+/g, ' ').trim();
const textOf = (comment) => ts.getTextOfJSDocComment(comment)?.trim() ?? '';

/** @returns {Doc} */
function docOf(node) {
  const tags = ts.getJSDocTags(node);
  const comment = node.jsDoc?.at(-1)?.comment;
  return {
    text: textOf(comment),
    params: tags
      .filter(ts.isJSDocParameterTag)
      .map((tag) => ({ name: tag.name.getText(), text: oneLine(textOf(tag.comment)) })),
    returns: oneLine(textOf(tags.find(ts.isJSDocReturnTag)?.comment)),
    throws: tags.filter(ts.isJSDocThrowsTag).map((tag) => ({
      type: tag.typeExpression?.type.getText() ?? '',
      text: oneLine(textOf(tag.comment)),
    })),
  };
}

/** The declaration's own text on one line, without `export`, `declare` and the final semicolon. */
function signatureOf(node) {
  return oneLine(node.getText())
    .replace(/^export (declare )?/, '')
    .replace(/;$/, '')
    .replace(/([(<]) /g, '$1')
    .replace(/,? ([)>])(?!=)/g, '$1')
    .replace(/([=,]) \| /g, '$1 ');
}

/** The title of the last comment rule ("---- title") in front of a member. */
function sectionAbove(node, source) {
  const comments = source.text.slice(node.pos, node.getStart(source, false));
  return [...comments.matchAll(/^\s*\/\/ -+ (.+)$/gm)].at(-1)?.[1];
}

/** @returns {Member[]} public members with a name */
function membersOf(node, source) {
  const members = [];
  let section = '';
  for (const member of node.members ?? []) {
    section = sectionAbove(member, source) ?? section;
    const isPrivate =
      ts.getCombinedModifierFlags(member) & (ts.ModifierFlags.Private | ts.ModifierFlags.Protected);
    if (isPrivate) continue;
    members.push({
      name: ts.isConstructorDeclaration(member) ? 'constructor' : member.name.getText(),
      signature: signatureOf(member),
      section,
      optional: member.questionToken !== undefined,
      type: member.type ? oneLine(member.type.getText()) : '',
      doc: docOf(member),
    });
  }
  return members;
}

function nameOf(node) {
  return ts.isVariableStatement(node)
    ? node.declarationList.declarations[0].name.getText()
    : node.name.getText();
}

/**
 * Reads one file of type declarations.
 * @param {string} file relative to the project's root
 * @returns {{intro: string, declarations: Declaration[]}} `intro`: the comment that opens the file
 */
function readDeclarations(file) {
  const text = fs.readFileSync(path.join(root, file), 'utf8');
  const source = ts.createSourceFile(file, text, ts.ScriptTarget.Latest, true);
  const intro = /^(?:\/\/\/.*\n|\n)*((?:\/\/ .*\n)*)/
    .exec(text)[1]
    .replace(/^\/\/ /gm, '')
    .trim();
  const declarations = source.statements
    .filter((node) => KINDS.has(node.kind))
    .map((node) => ({
      kind: KINDS.get(node.kind),
      name: nameOf(node),
      signature: signatureOf(node),
      members: membersOf(node, source),
      doc: docOf(node),
    }));
  return { intro, declarations };
}

module.exports = { readDeclarations };
