<?xml version="1.0" encoding="UTF-8"?>
<!-- An HTML page about any document: how much of what is in it. Documents that are XML Schemas get a section of
     their own. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
    xmlns:xs="http://www.w3.org/2001/XMLSchema" xmlns:msxsl="urn:schemas-microsoft-com:xslt"
    exclude-result-prefixes="xs msxsl">
  <xsl:output method="html" encoding="UTF-8" indent="yes"/>

  <!-- All names in order: where one differs from its neighbour, a group begins. Grouping by xsl:key takes time that grows
       with the square of the largest group; to count the groups it is quick. -->
  <xsl:key name="named" match="n" use="@name"/>
  <xsl:variable name="elements"><xsl:apply-templates select="//*" mode="name"><xsl:sort select="name()"/></xsl:apply-templates></xsl:variable>
  <xsl:variable name="attributes"><xsl:apply-templates select="//@*" mode="name"><xsl:sort select="name()"/></xsl:apply-templates></xsl:variable>
  <xsl:template match="*|@*" mode="name"><n name="{name()}"/></xsl:template>

  <xsl:template match="/">
    <html lang="en">
      <head>
        <title>Report on &lt;<xsl:value-of select="name(*)"/>&gt;</title>
        <meta name="viewport" content="width=device-width, initial-scale=1"/>
        <style>
          body { font: 16px/1.5 system-ui, sans-serif; max-width: 60rem; margin: 2rem auto; padding: 0 1rem; color: #223; }
          h1 { font-size: 1.6rem; } h2 { font-size: 1.2rem; margin-top: 2rem; }
          .cards { display: flex; flex-wrap: wrap; gap: 1rem; padding: 0; list-style: none; }
          .cards li { flex: 1 1 8rem; background: #f2f5fa; border-radius: .5rem; padding: .75rem 1rem; }
          .cards b { display: block; font-size: 1.6rem; }
          table { border-collapse: collapse; width: 100%; } td, th { text-align: left; padding: .2rem .5rem; }
          td.number, th.number { text-align: right; font-variant-numeric: tabular-nums; width: 5rem; }
          td.bar { width: 45%; } td.bar span { display: block; height: .7rem; background: #4a7fd4; border-radius: .2rem; }
          code { overflow-wrap: anywhere; } .names code { display: inline-block; margin: 0 .6rem .2rem 0; }
          @media (max-width: 30rem) { td.bar { width: 25%; } }
        </style>
      </head>
      <body>
        <h1>Report on <code>&lt;<xsl:value-of select="name(*)"/>&gt;</code></h1>
        <xsl:if test="namespace-uri(*)"><p>Namespace <code><xsl:value-of select="namespace-uri(*)"/></code></p></xsl:if>
        <ul class="cards">
          <li><b><xsl:value-of select="count(//*)"/></b> elements</li>
          <li><b><xsl:value-of select="count(msxsl:node-set($elements)/n[not(@name = preceding-sibling::n[1]/@name)])"/></b> names of elements</li>
          <li><b><xsl:value-of select="count(//@*)"/></b> attributes</li>
          <li><b><xsl:call-template name="depth"/></b> levels</li>
          <li><b><xsl:value-of select="count(//comment())"/></b> comments</li>
        </ul>
        <xsl:apply-templates select="xs:schema"/>
        <h2>Elements by name</h2>
        <xsl:call-template name="table"><xsl:with-param name="names" select="msxsl:node-set($elements)/n"/></xsl:call-template>
        <xsl:if test="//@*">
          <h2>Attributes by name</h2>
          <xsl:call-template name="table"><xsl:with-param name="names" select="msxsl:node-set($attributes)/n"/></xsl:call-template>
        </xsl:if>
      </body>
    </html>
  </xsl:template>

  <!-- Each name, how often it occurs, and a bar for its share of all; the most frequent first. -->
  <xsl:template name="table">
    <xsl:param name="names"/>
    <table>
      <xsl:for-each select="$names[not(@name = preceding-sibling::n[1]/@name)]">
        <xsl:sort select="count(key('named', @name))" data-type="number" order="descending"/>
        <xsl:variable name="count" select="count(key('named', @name))"/>
        <tr>
          <td><code><xsl:value-of select="@name"/></code></td>
          <td class="number"><xsl:value-of select="$count"/></td>
          <td class="bar"><span style="width: {format-number($count div count($names) * 100, '0.00')}%"></span></td>
        </tr>
      </xsl:for-each>
    </table>
  </xsl:template>

  <!-- That of the deepest element. -->
  <xsl:template name="depth">
    <xsl:for-each select="//*[not(*)]">
      <xsl:sort select="count(ancestor-or-self::*)" data-type="number" order="descending"/>
      <xsl:if test="position() = 1"><xsl:value-of select="count(ancestor-or-self::*)"/></xsl:if>
    </xsl:for-each>
  </xsl:template>

  <!-- What a schema declares globally. -->
  <xsl:template match="xs:schema">
    <h2>What this schema declares</h2>
    <p>For the namespace <code><xsl:value-of select="@targetNamespace"/></code>:
      <xsl:value-of select="count(xs:element)"/> elements, <xsl:value-of select="count(xs:complexType | xs:simpleType)"/> types,
      <xsl:value-of select="count(xs:group)"/> groups, <xsl:value-of select="count(xs:attributeGroup)"/> groups of attributes.</p>
    <xsl:for-each select="xs:annotation/xs:documentation"><blockquote><xsl:value-of select="."/></blockquote></xsl:for-each>
    <p class="names">
      <xsl:for-each select="xs:element">
        <xsl:sort select="@name"/>
        <code><xsl:value-of select="@name"/></code><xsl:text> </xsl:text>
      </xsl:for-each>
    </p>
  </xsl:template>
</xsl:stylesheet>
